#pragma once

#include <QString>
#include <QStringList>

/// Where a game's saves may be, best first: its own folder, the folder for all games' data, the engine's data
/// folder. The name comes from the downloaded game and is not trusted: no candidate lies outside `godotData`.
QStringList saveFolderCandidates(const QString &godotData, const QString &projectName);
