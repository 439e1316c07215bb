#include "DesktopPresence.h"

#include "DesktopShell.h"
#include "Stage.h"
#include "Table.h"

#include <QElapsedTimer>
#include <QProgressBar>

using namespace Qt::StringLiterals;
using Activity = DesktopShell::Activity;

namespace {

/// Records what the desktop was asked for.
class RecordedShell final : public DesktopShell {
public:
    void setActivity(Activity begun) override { activity = begun; }
    void notify(const QString &sentence) override { notifications << sentence; }
    void withdrawNotification() override { ++withdrawals; }
    void showProgress(std::optional<double> fraction) override { progress = fraction; }

    Activity activity = Activity::None;
    QStringList notifications;
    int withdrawals = 0;
    std::optional<double> progress;
};

const QString sentence = u"The code host could not be reached."_s;

}

class DesktopPresenceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theComputerStaysAwakeWhileSomethingIsInstalled_data()
    {
        const auto row = table<AppState, bool, Activity>("state", "gameRuns", "activity");
        row("nothing is there", AppState::notDownloaded(), false, Activity::None);
        row("downloading", AppState::downloading(u"the game"_s), false, Activity::Installing);
        row("setting up", AppState::settingUp(), false, Activity::Installing);
        row("ready", AppState::ready(), false, Activity::None);
        row("a failure", AppState::needs(sentence), false, Activity::None);
        row("starting", AppState::starting(), true, Activity::GameRunning);
        row("playing", AppState::playing(), true, Activity::GameRunning);
    }

    void theComputerStaysAwakeWhileSomethingIsInstalled()
    {
        QFETCH(AppState, state);
        QFETCH(bool, gameRuns);
        for (const AppState &before : { AppState::ready(), AppState::settingUp() }) {
            m_stage.show(before);
            model().runner.isRunning = gameRuns;
            m_stage.show(state);
            QTEST(m_shell.activity, "activity");
            model().runner.isRunning = false;
        }
    }

    void theProgressIsShownWhileSomethingIsInstalled()
    {
        model().progress = 0.25;
        m_stage.show(AppState::downloading(u"the game"_s));
        QCOMPARE(m_shell.progress, std::optional(0.25));
        model().progress = std::nullopt;
        Stage::settle();
        QVERIFY(!m_shell.progress);
        model().progress = 0.75;
        Stage::settle();
        QCOMPARE(m_shell.progress, std::optional(0.75));
        m_stage.show(AppState::ready());
        QVERIFY(!m_shell.progress);
    }

    void aPlayerWhoIsNotLookingIsCalledOnceForEachFailure()
    {
        lookAway();
        m_stage.fail(0, sentence);
        QCOMPARE(m_shell.notifications, QStringList(sentence));
        model().notice = u"Nothing is downloaded yet."_s;
        model().failureLines = Samples::lines(3);
        Stage::settle();
        QCOMPARE(m_shell.notifications, QStringList(sentence));

        clearFailure();
        QCOMPARE(m_shell.notifications, QStringList(sentence));
        m_stage.fail(0, sentence);
        m_stage.fail(0, u"Another one."_s);
        QCOMPARE(m_shell.notifications, QStringList({ sentence, sentence, u"Another one."_s }));
    }

    void theCallDoesNotAnnounceLinesThatOnlyTheWindowShows()
    {
        lookAway();
        m_stage.fail(3);
        QVERIFY(Samples::earlyEnd.endsWith(u':'));
        QCOMPARE(m_shell.notifications.size(), 1);
        QVERIFY(m_shell.notifications.first().endsWith(u"so it did not start properly."_s));
        QVERIFY(Samples::earlyEnd.startsWith(m_shell.notifications.first()));
    }

    void anUpdateThatHasFinishedCallsAndOtherNoticesDoNot()
    {
        lookAway();
        model().notice = u"Everything was removed."_s;
        Stage::settle();
        QCOMPARE(m_shell.notifications, QStringList());
        model().notice = u"The game was updated."_s;
        Stage::settle();
        QCOMPARE(m_shell.notifications, QStringList(u"The game was updated."_s));
    }

    void aPlayerWhoIsLookingIsNotCalled()
    {
        m_stage.fail(0, sentence);
        clearFailure();
        m_stage.openSettings(); // which has the focus then
        m_stage.fail(0, sentence);
        // And not later either, when it is old.
        m_stage.click(Button::done);
        lookAway();
        model().failureLines = Samples::lines(3);
        Stage::settle();
        QCOMPARE(m_shell.notifications, QStringList());
    }

    void lookingAtTheWindowRemovesTheNotification()
    {
        lookAway();
        m_stage.fail(0, sentence);
        const int before = m_shell.withdrawals;
        m_stage.window().activateWindow();
        QTRY_VERIFY(m_shell.withdrawals > before);
    }

    void quittingTakesEverythingBackForGood()
    {
        model().progress = 0.25;
        m_stage.show(AppState::downloading(u"the game"_s));
        m_presence.leave();
        QCOMPARE(m_shell.activity, Activity::None);
        QVERIFY(!m_shell.progress);
        QVERIFY(m_shell.withdrawals > 0);
        lookAway();
        model().progress = 0.5;
        m_stage.fail(0, sentence);
        QVERIFY(!m_shell.progress);
        QCOMPARE(m_shell.notifications, QStringList());
    }

    void theProgressBarSaysHowLongItWillTake()
    {
        const auto *bar = m_stage.window().findChild<QProgressBar *>();
        model().state = AppState::downloading(u"the game"_s);
        model().stepText = u"Step 1 of 4: downloading the game"_s;
        model().progress = 0.1;
        Stage::settle();
        QCOMPARE(bar->toolTip(), QString());
        // At a hundredth of the whole each second.
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < 4000) {
            QTest::qWait(50);
            model().progress = 0.1 + static_cast<double>(clock.elapsed()) / 100'000;
        }
        Stage::settle();
        QCOMPARE(bar->toolTip(), u"about 1 minute left"_s);
        QCOMPARE(bar->accessibleDescription(), u"about 1 minute left"_s);

        model().stepText = u"Step 2 of 4: downloading Godot 4.6"_s;
        Stage::settle();
        QCOMPARE(bar->toolTip(), QString());
        QCOMPARE(bar->accessibleDescription(), QString());
    }

private:
    AppModel &model() { return m_stage.model; }

    /// No window of the launcher has the focus any more.
    void lookAway()
    {
        {
            QWidget other;
            other.show();
            other.activateWindow();
            QTRY_COMPARE(QGuiApplication::focusWindow(), other.windowHandle());
        }
        QVERIFY(!QGuiApplication::focusWindow());
    }

    void clearFailure()
    {
        model().failureMessage = std::nullopt;
        m_stage.show(AppState::notDownloaded());
    }

    Stage m_stage;
    RecordedShell m_shell;
    DesktopPresence m_presence { m_stage.model, m_stage.open(), m_shell };
};

QTEST_MAIN(FreshForEach<DesktopPresenceTest>)
#include "DesktopPresenceTest.moc"
