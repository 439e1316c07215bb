#pragma once

class QString;

/// Finds out whether a message bus responds before the D-Bus library connects to it.
///
/// All of QtDBus, the launcher's link to screen readers included, runs on one thread, which stands still
/// while a bus is being connected to. A bus that hangs must therefore hold up another thread: the one that
/// asks here.
namespace BusProbe {

/// Whether what listens at `address` responds to the first words of a client. Blocks until it does or hangs
/// up. Any thread but the main thread.
bool responds(const QString &address);

}
