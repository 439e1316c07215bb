#pragma once

#include <QString>
#include <QStringList>

/// Where a game's saves may be, best first: its own folder, the folder of all games' data, the engine's data
/// folder. The name comes from the downloaded game; whatever it is, no candidate lies outside `godotData`.
QStringList saveFolderCandidates(const QString &godotData, const QString &projectName);
