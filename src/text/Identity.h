#pragma once

#include <QString>
#include <QStringList>

/// What in a text would tell a stranger whose text it is. Plain data.
struct Identity {
    /// Absolute paths that lead to the user's home folder: with symbolic links, and with them resolved.
    QStringList homeFolders;
    /// The name of the user's account; empty when unknown.
    QString userName;
    /// The computer's name in its network; empty when unknown.
    QString hostName;
};
