#include "SaveFolder.h"

namespace {

/// The folder name that the engine makes of a project's name.
QString engineFolderName(QString projectName)
{
    for (QChar &character : projectName) {
        if (QStringLiteral(":*?\"<>|/\\").contains(character))
            character = QLatin1Char('-');
    }
    return projectName;
}

}

QStringList saveFolderCandidates(const QString &godotData, const QString &projectName)
{
    const QString allGames = godotData + QStringLiteral("/app_userdata");
    const QString name = engineFolderName(projectName);
    QStringList candidates;
    if (!name.isEmpty() && name != QLatin1StringView(".") && name != QLatin1StringView(".."))
        candidates << allGames + QLatin1Char('/') + name;
    candidates << allGames << godotData;
    return candidates;
}
