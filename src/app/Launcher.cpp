#include "Launcher.h"

#include "AppDelegate.h"
#include "AppModel.h"
#include "Background.h"
#include "BringForward.h"
#include "CodeHost.h"
#include "Leftovers.h"
#include "MainWindow.h"
#include "OneLauncher.h"
#include "Pasteboard.h"
#include "Paths.h"
#include "Preferences.h"
#include "TerminationSignals.h"
#include "Workspace.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>
#include <QPixmap>
#include <QThreadPool>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

/// Where no window can be opened Qt explains itself and then ends the program as if it had crashed. The
/// explanation is enough.
void endWithoutCrash(QtMsgType type, const QMessageLogContext & /*context*/, const QString &message)
{
    std::fprintf(stderr, "%s\n", qPrintable(message));
    if (type == QtFatalMsg)
        std::_Exit(EXIT_FAILURE);
}

/// Qt's application object, alone, with its messages handled for as long as it is being made.
class Application final {
public:
    explicit Application(char *program)
        : m_arguments { program, nullptr }
        , m_handlerBefore(qInstallMessageHandler(endWithoutCrash))
        , m_application(m_argumentCount, m_arguments)
    {
        qInstallMessageHandler(m_handlerBefore);
        QApplication::setApplicationName(QStringLiteral("vantor-platformer"));
        QGuiApplication::setDesktopFileName(QStringLiteral(APPLICATION_ID));
        QIcon icon;
        for (const int size : { 16, 24, 32, 48, 64, 128, 256 })
            // Without its name, Qt loads all its picture formats to find the one it has built in.
            icon.addPixmap(QPixmap(QStringLiteral(":/icons/vantor-platformer-%1.png").arg(size), "PNG"));
        QApplication::setWindowIcon(icon);
    }

private:
    int m_argumentCount = 1;
    char *m_arguments[2];
    QtMessageHandler m_handlerBefore;
    QApplication m_application;
};

void bringForwardWith(const QByteArray &activationToken, QWidget &window)
{
    // Where Wayland's windows look for it. The game, which inherits the environment, has no use for it.
    const QByteArray name = "XDG_ACTIVATION_TOKEN";
    qputenv(name.constData(), activationToken);
    bringForward(window);
    qunsetenv(name.constData());
}

void say(const QString &sentence)
{
    std::fprintf(stderr, "%s\n", qPrintable(sentence));
    QMessageBox box(QMessageBox::Warning, QStringLiteral("2D Platformer"), sentence, QMessageBox::Ok);
    box.exec(); // gate: allowed, because there is no window and no event loop yet
}

/// The window on its model, from the first to the last turn of the event loop.
int showWindow(OneLauncher &one)
{
    Preferences preferences;
    DesktopWorkspace workspace;
    DesktopPasteboard pasteboard;
    AppModel model(preferences, workspace, pasteboard);
    MainWindow window(model, preferences);
    AppDelegate delegate([] { QCoreApplication::exit(EXIT_SUCCESS); });
    const TerminationSignals signalsOfTheSystem;

    delegate.attach(model, window);
    QObject::connect(&one, &OneLauncher::cameForward, &window,
                     [&window](const QByteArray &token) { bringForwardWith(token, window); });
    QObject::connect(&delegate, &AppDelegate::leaving, &one, &OneLauncher::stopAnswering);
    QObject::connect(&signalsOfTheSystem, &TerminationSignals::received, &delegate, &AppDelegate::quitAtOnce);

    window.show();
    const int status = QApplication::exec();
    // What has not unwound by now still uses the model, like an engine that ignores being asked to end, or
    // would be waited for below, like a desktop that does not answer: the player waits for neither.
    const bool isBusy = model.isWorking() || model.runner.isRunning || jobsInBackground() > 0
        || QThreadPool::globalInstance()->activeThreadCount() > 0 || workspace.isWaitingForBus();
    if (isBusy)
        std::_Exit(status);
    return status;
}

}

int Launcher::run(char *program, const QUrl &codeHost)
{
    // A peer that is gone is an error of a call, in whichever thread and library, and never the launcher's
    // end. Children start with the default again.
    std::signal(SIGPIPE, SIG_IGN);
    // A file that may not grow is an error of the call that writes it, not the launcher's end.
    std::signal(SIGXFSZ, SIG_IGN);
    const Application application(program);
    OneLauncher one(Paths::root());
    switch (one.begin()) {
    case OneLauncher::Outcome::OtherCameForward:
        return EXIT_SUCCESS;
    case OneLauncher::Outcome::OtherIsSilent:
        say(QStringLiteral("2D Platformer is already open, but does not answer. End it and start it again."));
        return EXIT_FAILURE;
    case OneLauncher::Outcome::HeldByUnknown:
        say(QStringLiteral("Another program has locked the folder “%1”, where 2D Platformer keeps its files. "
                           "End that program and start 2D Platformer again.")
                .arg(one.folder()));
        return EXIT_FAILURE;
    case OneLauncher::Outcome::Holds:
        // A launcher that was killed could not clear up; no other one is at work in there.
        Leftovers::beginToClear();
        break;
    case OneLauncher::Outcome::CannotHold:
        // Where nothing can be written there is nothing to guard, and Play says why it cannot.
        break;
    }
    CodeHost::setAddress(codeHost);
    return showWindow(one);
}
