#include "GameArguments.h"

QStringList gameArguments(const QString &project, bool fullscreen, const QString &resolution)
{
    QStringList arguments { QStringLiteral("--path"), project };
    if (fullscreen) {
        arguments << QStringLiteral("--fullscreen");
        return arguments;
    }
    arguments << QStringLiteral("--windowed");
    if (resolution != QLatin1StringView("default"))
        arguments << QStringLiteral("--resolution") << resolution;
    return arguments;
}
