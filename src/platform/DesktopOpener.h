#pragma once

#include <QUrl>

#include <functional>

/// xdg-open, which hands an address to whatever the player's desktop opens it with.
namespace DesktopOpener {

/// Returns at once. `onFailure` is called later, on the main thread, when there is no xdg-open, when it
/// cannot be started, and when it soon ends with an error. What it has opened outlives the launcher. Main
/// thread.
void open(const QUrl &address, std::function<void()> onFailure);

}
