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
#include <QTest>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

constexpr int statusOfHang = 3;

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
    constexpr int longest = 60'000; // milliseconds, on a slow and busy machine
    if (!QTest::qWaitFor(isMet, longest))
        std::_Exit(statusOfHang);
}

QString nameOf(const AppState &state)
{
    switch (state.kind()) {
    case AppState::Case::Needs:
        return u"needs"_s;
    case AppState::Case::NotDownloaded:
        return u"notDownloaded"_s;
    case AppState::Case::Ready:
        return u"ready"_s;
    default:
        return u"working"_s;
    }
}

class CommandLine final {
public:
    /// Returns the exit status.
    int run(const QStringList &commands)
    {
        const QHash<QString, void (AppModel::*)()> actions { { u"play"_s, &AppModel::play },
                                                             { u"update"_s, &AppModel::updateGame },
                                                             { u"reinstall"_s, &AppModel::reinstall },
                                                             { u"remove"_s, &AppModel::removeEverything } };
        for (const QString &command : commands) {
            settle();
            if (command == u"look"_s)
                look();
            else if (command == u"wait"_s)
                std::getchar();
            else if (const auto action = actions.value(command))
                press(action);
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
        QJsonObject found { { u"state"_s, nameOf(m_model.state) } };
        if (const auto project = ProjectInspector::findProjectRoot(Paths::gameFolder())) {
            const EngineSpec spec = EngineManager::spec(ProjectInspector::inspect(*project));
            found.insert(u"game"_s, *project);
            found.insert(u"imported"_s, FileOperations::exists(EngineManager::markerURL(spec)));
            if (const auto program = EngineManager::executable(spec))
                found.insert(u"engine"_s, *program);
        }
        print(found);
    }

    void press(void (AppModel::*action)())
    {
        (m_model.*action)();
        const auto hasEnded = [this] { return !m_model.isWorking() && !m_model.runner.isRunning; };
        const auto runs = [this] { return m_model.log.lines->contains(u"The game runs."_s); };
        waitUntil([&runs, &hasEnded] { return runs() || hasEnded(); });
        const bool ran = runs();
        // Stopping has no effect while the child is still being launched, so retry until it has ended.
        waitUntil([this, &hasEnded] {
            m_model.runner.stop();
            return hasEnded();
        });
        settle();
        QJsonObject ending { { u"state"_s, nameOf(m_model.state) },
                             { u"ran"_s, ran },
                             { u"log"_s, m_model.log.lines->join(u'\n') } };
        if (m_model.failureMessage.get())
            ending.insert(u"sentence"_s, *m_model.failureMessage.get());
        if (m_model.notice.get())
            ending.insert(u"notice"_s, *m_model.notice.get());
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
