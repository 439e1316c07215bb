#include "StateFace.h"

#include <QTest>

using namespace Qt::StringLiterals;

class StateFaceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsDotItsLabelAndItsAction_data()
    {
        using Dot = StateFace::Dot;
        using Action = StateFace::Action;
        QTest::addColumn<AppState>("state");
        QTest::addColumn<StateFace>("face");
        const auto row = [](const char *name, const AppState &state, const StateFace &face) {
            QTest::newRow(name) << state << face;
        };
        row("downloading", AppState::downloading(u"the game"_s),
            { Dot::Orange, u"Downloading"_s, Action::Progress });
        row("needs", AppState::needs(u"No network."_s),
            { Dot::Red, u"Needs something"_s, Action::Play, true, u"No network."_s });
        row("notDownloaded", AppState::notDownloaded(),
            { Dot::Grey, u"Not downloaded"_s, Action::Play, true });
        row("settingUp", AppState::settingUp(), { Dot::Orange, u"Setting up"_s, Action::Progress });
        row("ready", AppState::ready(), { Dot::Green, u"Ready"_s, Action::Play });
        row("starting", AppState::starting(), { Dot::Orange, u"Starting\u2026"_s, Action::Stop });
        row("playing", AppState::playing(), { Dot::Green, u"Playing"_s, Action::Stop });
    }

    void everyStateHasItsDotItsLabelAndItsAction()
    {
        QFETCH(const AppState, state);
        QFETCH(const StateFace, face);
        QVERIFY(stateFace(state, false) == face);
    }

    /// A failure hides whether the game is there: the hint stays even when it is.
    void aFailureReportThatSaysTheNeedLeavesTheHint()
    {
        const StateFace face = stateFace(AppState::needs(u"No network."_s), true);
        QVERIFY(face.showsHint);
        QCOMPARE(face.needsText, QString());
    }

    void stopEndsTheGameWhenItRunsAndTheStartOtherwise()
    {
        QVERIFY(stopTarget(true) == StopTarget::Game);
        QVERIFY(stopTarget(false) == StopTarget::Start);
    }

    void maintenanceWaitsForTheGameAndForTheRunningAction()
    {
        QVERIFY((maintenanceFace(false, false) == MaintenanceFace { .canReplace = true, .canRemove = true }));
        QVERIFY((maintenanceFace(false, true) == MaintenanceFace { .canReplace = false, .canRemove = true }));
        for (const bool isWorking : { false, true })
            QVERIFY((maintenanceFace(true, isWorking)
                     == MaintenanceFace { .canReplace = false, .canRemove = false }));
    }
};

QTEST_GUILESS_MAIN(StateFaceTest)
#include "StateFaceTest.moc"
