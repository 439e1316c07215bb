// A process that prints what the desktop's settings say, for DesktopAppearanceTest: first how many
// milliseconds it took to begin, then a line for each change. It ends with its standard input.

#include "DesktopAppearance.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QString>

#include <cstdio>
#include <cstdlib>

namespace {

QString words(const std::optional<bool> &isSo, const char *yes, const char *no)
{
    return isSo ? QString::fromLatin1(*isSo ? yes : no) : QStringLiteral("-");
}

void print(const QString &line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

void show(const DesktopSettings &settings)
{
    QString scheme = QStringLiteral("-");
    if (settings.scheme)
        scheme = settings.scheme == DesktopSettings::Scheme::Dark ? QStringLiteral("dark")
                                                                  : QStringLiteral("light");
    QString accent = QStringLiteral("-");
    if (settings.accent)
        accent = QStringLiteral("%1,%2,%3")
                     .arg(settings.accent->red)
                     .arg(settings.accent->green)
                     .arg(settings.accent->blue);
    print(scheme + u' ' + accent + u' ' + words(settings.highContrast, "high", "normal") + u' '
          + words(settings.reducedMotion, "reduced", "full"));
}

}

int main(int argumentCount, char **arguments)
{
    QCoreApplication application(argumentCount, arguments);
    QElapsedTimer clock;
    clock.start();
    const DesktopAppearance appearance(show);
    print(QString::number(clock.elapsed()));
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [] { QCoreApplication::quit(); });
    const int status = QCoreApplication::exec();
    if (appearance.isWaitingForBus())
        std::_Exit(status); // as the launcher does
    return status;
}
