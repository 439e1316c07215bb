#pragma once

#include <QByteArray>

/// The first entry that could not be removed and its errno value, 0 when everything was removed.
struct RemovalFailure {
    QByteArray name;
    int code = 0;
};

/// Removes the file, symbolic link or folder tree at `path`, which does not end in a slash. Never follows a
/// symbolic link, also removes what is in folders without permissions, and carries on when something cannot
/// be removed. Any thread.
RemovalFailure removeTreeAt(const QByteArray &path);
