#pragma once

#include <QUrl>

#include <functional>

/// xdg-open, which opens an address in the default application of the player's desktop.
namespace DesktopOpener {

/// Returns at once. `onFailure` is called later, on the main thread, when xdg-open is missing, cannot be
/// started or soon ends with an error. What it has opened outlives the launcher. Main thread.
void open(const QUrl &address, std::function<void()> onFailure);

}
