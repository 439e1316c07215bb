#pragma once

#include <QString>
#include <QStringList>

/// The engine's command line for a game start. Full screen leaves the resolution out; "default" is the game's
/// own size; any other resolution is passed on as it is stored.
QStringList gameArguments(const QString &project, bool fullscreen, const QString &resolution);
