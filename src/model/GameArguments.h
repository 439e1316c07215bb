#pragma once

#include <QString>
#include <QStringList>

/// The engine's command line to start the game. In full screen no resolution is passed; "default" is the
/// game's own size; any other resolution is passed as stored.
QStringList gameArguments(const QString &project, bool fullscreen, const QString &resolution);
