#include "SaveFolder.h"

namespace {

/// What the engine strips from both ends of a name: blanks and control characters.
QString stripped(const QString &name)
{
    qsizetype start = 0;
    qsizetype end = name.size();
    while (start < end && name[start] <= u' ')
        ++start;
    while (end > start && name[end - 1] <= u' ')
        --end;
    return name.mid(start, end - start);
}

/// The folder name that the engine derives from a project's name.
QString engineFolderName(QString projectName)
{
    projectName = stripped(projectName);
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
    // The system would cut the name off at a NUL.
    if (!name.isEmpty() && name != QLatin1StringView(".") && name != QLatin1StringView("..")
        && !name.contains(QChar(u'\0')))
        candidates << allGames + QLatin1Char('/') + name;
    candidates << allGames << godotData;
    return candidates;
}
