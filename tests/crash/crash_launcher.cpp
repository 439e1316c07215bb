// The launcher without its window, for test_crash.py, which interrupts it at every moment:
//
//     crash_launcher CODE_HOST COMMAND...
//
// starts like the launcher and carries out the commands in order:
//
//     look                            prints what is shown and what counts as installed
//     wait                            waits for a line on standard input
//     play, update, reinstall, remove presses that once and prints how it ended; a running game is stopped
//
// Each print is one line of JSON.

#include "AppModel.h"
#include "Background.h"
#include "BackgroundRemoval.h"
#include "CodeHost.h"
#include "EngineManager.h"
#include "FileOperations.h"
#include "Leftovers.h"
#include "Pasteboard.h"
#include "Paths.h"
#include "Preferences.h"
#include "ProjectInspector.h"
#include "Workspace.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

/// The time limit for anything, on a slow and busy machine.
constexpr std::chrono::seconds longest { 60 };
constexpr int statusOfHang = 3;
/// The interval between checks for what is not announced.
constexpr std::chrono::milliseconds betweenLooks { 10 };

class NoWorkspace final : public Workspace {
public:
    void reveal(const QString & /*folder*/, std::function<void()> /*onFailure*/) override { }
    void open(const QString & /*folder*/, std::function<void()> /*onFailure*/) override { }
    void browse(const QUrl & /*page*/, std::function<void()> /*onFailure*/) override { }
};

class NoPasteboard final : public Pasteboard {
public:
    void setText(const QString & /*text*/) override { }
};

template <typename Condition> void waitUntil(Condition isMet)
{
    QTimer limit;
    QObject::connect(&limit, &QTimer::timeout, &limit, [] { std::_Exit(statusOfHang); });
    limit.start(longest);
    QTimer nextLook;
    nextLook.start(betweenLooks);
    while (!isMet())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

QString nameOf(const AppState &state)
{
    switch (state.kind()) {
    case AppState::Case::Downloading:
        return QStringLiteral("downloading");
    case AppState::Case::Needs:
        return QStringLiteral("needs");
    case AppState::Case::NotDownloaded:
        return QStringLiteral("notDownloaded");
    case AppState::Case::SettingUp:
        return QStringLiteral("settingUp");
    case AppState::Case::Ready:
        return QStringLiteral("ready");
    case AppState::Case::Starting:
        return QStringLiteral("starting");
    case AppState::Case::Playing:
        return QStringLiteral("playing");
    }
    return {};
}

class CommandLine final {
public:
    /// Returns the exit status.
    int run(const QStringList &commands)
    {
        for (const QString &command : commands) {
            settle();
            if (command == QLatin1StringView("look"))
                look();
            else if (command == QLatin1StringView("wait"))
                std::getchar();
            else if (command == QLatin1StringView("play"))
                press(&AppModel::play);
            else if (command == QLatin1StringView("update"))
                press(&AppModel::updateGame);
            else if (command == QLatin1StringView("reinstall"))
                press(&AppModel::reinstall);
            else if (command == QLatin1StringView("remove"))
                press(&AppModel::removeEverything);
            else
                return EXIT_FAILURE;
        }
        settle();
        return EXIT_SUCCESS;
    }

private:
    /// Waits for the project facts, which are read in the background, and for removals to finish.
    static void settle()
    {
        BackgroundRemoval::wait({});
        waitForBackground(std::chrono::seconds(60));
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }

    void look() const
    {
        QJsonObject found { { QStringLiteral("state"), nameOf(m_model.state) } };
        if (const auto project = ProjectInspector::findProjectRoot(Paths::gameFolder())) {
            const EngineSpec spec = EngineManager::spec(ProjectInspector::inspect(*project));
            found.insert(QStringLiteral("game"), *project);
            found.insert(QStringLiteral("imported"), FileOperations::exists(EngineManager::markerURL(spec)));
            if (const auto program = EngineManager::executable(spec))
                found.insert(QStringLiteral("engine"), *program);
        }
        print(found);
    }

    void press(void (AppModel::*action)())
    {
        (m_model.*action)();
        const auto hasEnded = [this] { return !m_model.isWorking() && !m_model.runner.isRunning; };
        const auto runs = [this] { return m_model.log.lines->contains(QStringLiteral("The game runs.")); };
        waitUntil([&runs, &hasEnded] { return runs() || hasEnded(); });
        const bool ran = runs();
        // Stopping has no effect while the child is still being launched, so retry until it has ended.
        waitUntil([this, &hasEnded] {
            m_model.runner.stop();
            return hasEnded();
        });
        settle();
        QJsonObject ending { { QStringLiteral("state"), nameOf(m_model.state) },
                             { QStringLiteral("ran"), ran },
                             { QStringLiteral("log"), m_model.log.lines->join(QLatin1Char('\n')) } };
        if (m_model.failureMessage.get())
            ending.insert(QStringLiteral("sentence"), *m_model.failureMessage.get());
        if (m_model.notice.get())
            ending.insert(QStringLiteral("notice"), *m_model.notice.get());
        print(ending);
    }

    static void print(const QJsonObject &object)
    {
        std::puts(QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
        std::fflush(stdout);
    }

    Preferences m_preferences;
    NoWorkspace m_workspace;
    NoPasteboard m_pasteboard;
    AppModel m_model { m_preferences, m_workspace, m_pasteboard };
};

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2)
        return EXIT_FAILURE;
    Leftovers::clear();
    CodeHost::setAddress(QUrl(arguments.at(1)));
    return CommandLine().run(arguments.mid(2));
}
