#pragma once

#include <QByteArray>

/// The first thing that could not be removed, and why: an errno value, 0 when everything is gone.
struct RemovalFailure {
    QByteArray name;
    int code = 0;
};

/// Removes the file, link or folder tree at `path`, which has no slash at its end. Never follows a symbolic
/// link, removes what lies in folders without permissions, and goes on with the rest when something cannot be
/// removed. Any thread.
RemovalFailure removeTreeAt(const QByteArray &path);
