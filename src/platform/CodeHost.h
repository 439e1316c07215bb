#pragma once

#include <QUrl>

/// The address of the code-hosting service that the game, the engine and the checksum list come from. One
/// value, set once in main before the model exists: the shipped program sets the official one and offers no
/// way to change it.
namespace CodeHost {

/// "https://github.com"
QUrl official();

/// The base of every address; the official one until `setAddress` is called. Any thread.
QUrl address();

/// Main thread, before anything reads the address. `address` has no path: "http://127.0.0.1:8080".
void setAddress(const QUrl &address);

/// `address()` followed by `path`, which begins with "/". An invalid QUrl when the result is no address.
QUrl url(const QString &path);

}
