#include "Launcher.h"

#include "AppDelegate.h"
#include "AppModel.h"
#include "AppearanceFollower.h"
#include "Background.h"
#include "BringForward.h"
#include "CodeHost.h"
#include "Desktop.h"
#include "DesktopPresence.h"
#include "DesktopShell.h"
#include "LauncherStyle.h"
#include "Leftovers.h"
#include "MainWindow.h"
#include "Pasteboard.h"
#include "Paths.h"
#include "Preferences.h"
#include "SingleInstance.h"
#include "TerminationSignals.h"
#include "Workspace.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>
#include <QPalette>
#include <QPixmap>
#include <QThreadPool>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

/// Without a display Qt prints why and then aborts, which looks like a crash. The message is enough.
void endWithoutCrash(QtMsgType type, const QMessageLogContext & /*context*/, const QString &message)
{
    std::fprintf(stderr, "%s\n", qPrintable(message));
    if (type == QtFatalMsg)
        std::_Exit(EXIT_FAILURE);
}

/// Owns the QApplication. Handles Qt's messages only while it is being constructed.
class Application final {
public:
    explicit Application(char *program)
        : m_arguments { program, nullptr }
        , m_handlerBefore(qInstallMessageHandler(endWithoutCrash))
        , m_application(m_argumentCount, m_arguments)
    {
        qInstallMessageHandler(m_handlerBefore);
        // On macOS players expect the system's own controls.
        if (Desktop::current().system != Desktop::System::MacOS)
            installStyle();
        QApplication::setApplicationName(QStringLiteral("vantor-platformer"));
        QGuiApplication::setDesktopFileName(QStringLiteral(APPLICATION_ID));
    }

    /// Begins to follow how the player sets up the desktop. Not for a start that opens no window: it could
    /// end only after the desktop has answered.
    void followDesktop()
    {
        if (m_style)
            m_appearance.emplace(*m_style, m_desktopPalette);
    }

    bool isWaitingForBus() const { return m_appearance && m_appearance->isWaitingForBus(); }

private:
    void installStyle()
    {
        m_desktopPalette = QApplication::palette();
        m_style = new LauncherStyle(Appearance());
        m_style->setAppearance(appearanceOf({}, m_desktopPalette, m_style->baseStyle()->standardPalette()));
        QApplication::setStyle(m_style);
    }

    int m_argumentCount = 1;
    char *m_arguments[2];
    QtMessageHandler m_handlerBefore;
    QApplication m_application;
    /// Null where the system's own style stays. The application owns it.
    LauncherStyle *m_style = nullptr;
    QPalette m_desktopPalette;
    std::optional<AppearanceFollower> m_appearance;
};

void setWindowIcon()
{
    QIcon icon;
    for (const int size : { 16, 24, 32, 48, 64, 128, 256 })
        // Without the format's name Qt loads every image plugin, only to use its built-in decoder.
        icon.addPixmap(QPixmap(QStringLiteral(":/icons/vantor-platformer-%1.png").arg(size), "PNG"));
    QApplication::setWindowIcon(icon);
}

/// Gives the windows their icon after the first of them was painted, or when it is shown minimised: to decode
/// the pictures takes as long as most of what we do before. The desktop has the same icon from our menu
/// entry.
class IconAfterPaint final : public QObject {
public:
    explicit IconAfterPaint(QWidget &window)
        : QObject(&window)
    {
        window.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *window, QEvent *event) override
    {
        if (event->type() == QEvent::Paint || event->type() == QEvent::WindowStateChange) {
            window->removeEventFilter(this);
            // After this event, and after what it drew was sent to the screen.
            QMetaObject::invokeMethod(
                this,
                [this] {
                    setWindowIcon();
                    deleteLater();
                },
                Qt::QueuedConnection);
        }
        return false;
    }
};

void bringForwardWith(const QByteArray &activationToken, QWidget &window)
{
    // Qt's Wayland plugin reads the token from the environment, which the game must not inherit.
    const QByteArray name = "XDG_ACTIVATION_TOKEN";
    qputenv(name.constData(), activationToken);
    bringForward(window);
    qunsetenv(name.constData());
}

void say(const QString &sentence)
{
    std::fprintf(stderr, "%s\n", qPrintable(sentence));
    setWindowIcon();
    QMessageBox box(QMessageBox::Warning, QStringLiteral("2D Platformer"), sentence, QMessageBox::Ok);
    box.exec(); // gate: allowed, because there is no window and no event loop yet
}

/// Creates the model and the window, and runs the event loop until the program quits.
int showWindow(Application &application, SingleInstance &instance)
{
    application.followDesktop();
    Preferences preferences;
    DesktopWorkspace workspace;
    DesktopPasteboard pasteboard;
    AppModel model(preferences, workspace, pasteboard);
    MainWindow window(model, preferences);
    AppDelegate delegate([] { QCoreApplication::exit(EXIT_SUCCESS); });
    const TerminationSignals signalsOfTheSystem;
    NativeDesktopShell shell(QStringLiteral(APPLICATION_ID), window.windowTitle());
    DesktopPresence presence(model, window, shell);

    delegate.attach(model, window);
    QObject::connect(&instance, &SingleInstance::cameForward, &window,
                     [&window](const QByteArray &token) { bringForwardWith(token, window); });
    QObject::connect(&delegate, &AppDelegate::quitting, &instance, &SingleInstance::stopAnswering);
    QObject::connect(&delegate, &AppDelegate::quitting, &presence, &DesktopPresence::leave);
    QObject::connect(&signalsOfTheSystem, &TerminationSignals::received, &delegate, &AppDelegate::quitAtOnce);

    new IconAfterPaint(window);
    window.show();
    const int status = QApplication::exec();
    // Work that has not stopped by now still uses the model (an engine that ignores the request to end) or
    // would block the destructors below (a desktop that does not answer). The player waits for neither.
    const bool isBusy = model.isWorking() || model.runner.isRunning || jobsInBackground() > 0
        || QThreadPool::globalInstance()->activeThreadCount() > 0 || workspace.isWaitingForBus()
        || shell.isWaitingForBus() || application.isWaitingForBus();
    if (isBusy)
        std::_Exit(status);
    return status;
}

}

int Launcher::run(char *program, const QUrl &codeHost)
{
    // Writing to a closed socket or pipe must fail with an error, in every thread and library, and never kill
    // the launcher. Child processes get the default action back.
    std::signal(SIGPIPE, SIG_IGN);
    // The same for writing beyond the file size limit.
    std::signal(SIGXFSZ, SIG_IGN);
    Application application(program);
    SingleInstance instance(Paths::root());
    switch (instance.begin()) {
    case SingleInstance::Outcome::OtherCameForward:
        return EXIT_SUCCESS;
    case SingleInstance::Outcome::OtherIsSilent:
        say(QStringLiteral("2D Platformer is already open, but does not answer. End it and start it again."));
        return EXIT_FAILURE;
    case SingleInstance::Outcome::HeldByUnknown:
        say(QStringLiteral(
                "Another program has locked the folder “%1”, where 2D Platformer keeps its files. End that program and start 2D Platformer again.")
                .arg(instance.folder()));
        return EXIT_FAILURE;
    case SingleInstance::Outcome::Holds:
        // A killed launcher could not clean up. We hold the lock, so nobody else is using the folder.
        Leftovers::beginToClear();
        break;
    case SingleInstance::Outcome::CannotHold:
        // If nothing can be written there is nothing to guard, and Play reports the reason.
        break;
    }
    CodeHost::setAddress(codeHost);
    return showWindow(application, instance);
}
