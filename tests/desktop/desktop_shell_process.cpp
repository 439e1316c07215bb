// A process that does for the desktop what it is told on standard input, for DesktopShellTest:
//
//     none, installing, playing    sets the activity
//     progress FRACTION            shows the progress; without a fraction, none
//     notify SENTENCE, withdraw    shows or removes the notification
//
// After each line it prints how many milliseconds the call took. It ends with its standard input.

#include "DesktopShell.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

namespace {

void obey(NativeDesktopShell &shell, const QString &verb, const QString &rest)
{
    using Activity = DesktopShell::Activity;
    if (verb == u"none")
        shell.setActivity(Activity::None);
    else if (verb == u"installing")
        shell.setActivity(Activity::Installing);
    else if (verb == u"playing")
        shell.setActivity(Activity::GameRunning);
    else if (verb == u"progress")
        shell.showProgress(rest.isEmpty() ? std::nullopt : std::optional(rest.toDouble()));
    else if (verb == u"notify")
        shell.notify(rest);
    else if (verb == u"withdraw")
        shell.withdrawNotification();
}

}

int main(int argumentCount, char **arguments)
{
    QCoreApplication application(argumentCount, arguments);
    NativeDesktopShell shell(QStringLiteral("org.example.Launcher"), QStringLiteral("The Launcher"));
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&shell] {
        std::string line;
        if (!std::getline(std::cin, line)) {
            QCoreApplication::quit();
            return;
        }
        const QString words = QString::fromStdString(line);
        QElapsedTimer clock;
        clock.start();
        obey(shell, words.section(u' ', 0, 0), words.section(u' ', 1));
        std::printf("%lld\n", static_cast<long long>(clock.elapsed()));
        std::fflush(stdout);
    });
    const int status = QCoreApplication::exec();
    if (shell.isWaitingForBus())
        std::_Exit(status); // as the launcher does
    return status;
}
