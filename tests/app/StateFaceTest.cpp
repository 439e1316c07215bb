#include "StateFace.h"

#include <QTest>

class StateFaceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStateHasItsDotItsLabelAndItsAction_data();
    void everyStateHasItsDotItsLabelAndItsAction();
    void theHintShowsWheneverPlayMayHaveToDownload();
    void theNeedIsSaidHereOnlyWhenNoFailureReportSaysIt();
    void stopEndsTheGameWhenItRunsAndTheStartOtherwise();
    void maintenanceWaitsForTheGameAndForTheRunningAction();
};

void StateFaceTest::everyStateHasItsDotItsLabelAndItsAction_data()
{
    using Dot = StateFace::Dot;
    using Action = StateFace::Action;
    QTest::addColumn<AppState>("state");
    QTest::addColumn<StateFace>("face");

    QTest::newRow("downloading") << AppState::downloading(QStringLiteral(
        "the game")) << StateFace { Dot::Orange, QStringLiteral("Downloading"), Action::Progress, false, {} };
    QTest::newRow("needs") << AppState::needs(QStringLiteral("No network."))
                           << StateFace { Dot::Red, QStringLiteral("Needs something"), Action::Play, true,
                                          QStringLiteral("No network.") };
    QTest::newRow("notDownloaded") << AppState::notDownloaded()
                                   << StateFace {
                                          Dot::Grey, QStringLiteral("Not downloaded"), Action::Play, true, {}
                                      };
    QTest::newRow("settingUp") << AppState::settingUp()
                               << StateFace {
                                      Dot::Orange, QStringLiteral("Setting up"), Action::Progress, false, {}
                                  };
    QTest::newRow("ready") << AppState::ready()
                           << StateFace { Dot::Green, QStringLiteral("Ready"), Action::Play, false, {} };
    QTest::newRow("starting") << AppState::starting()
                              << StateFace {
                                     Dot::Orange, QStringLiteral("Starting\u2026"), Action::Stop, false, {}
                                 };
    QTest::newRow("playing") << AppState::playing()
                             << StateFace { Dot::Green, QStringLiteral("Playing"), Action::Stop, false, {} };
}

void StateFaceTest::everyStateHasItsDotItsLabelAndItsAction()
{
    QFETCH(const AppState, state);
    QFETCH(const StateFace, face);
    QVERIFY(stateFace(state, false) == face);
}

void StateFaceTest::theHintShowsWheneverPlayMayHaveToDownload()
{
    QVERIFY(stateFace(AppState::notDownloaded(), false).showsHint);
    // A failure hides whether the game is there: the hint stays even when it is.
    QVERIFY(stateFace(AppState::needs(QStringLiteral("No network.")), true).showsHint);
    QVERIFY(!stateFace(AppState::ready(), false).showsHint);
}

void StateFaceTest::theNeedIsSaidHereOnlyWhenNoFailureReportSaysIt()
{
    const AppState state = AppState::needs(QStringLiteral("No network."));
    QCOMPARE(stateFace(state, false).needsText, QStringLiteral("No network."));
    QCOMPARE(stateFace(state, true).needsText, QString());
}

void StateFaceTest::stopEndsTheGameWhenItRunsAndTheStartOtherwise()
{
    QVERIFY(stopTarget(true) == StopTarget::Game);
    QVERIFY(stopTarget(false) == StopTarget::Start);
}

void StateFaceTest::maintenanceWaitsForTheGameAndForTheRunningAction()
{
    QVERIFY((maintenanceFace(false, false) == MaintenanceFace { .canReplace = true, .canRemove = true }));
    QVERIFY((maintenanceFace(false, true) == MaintenanceFace { .canReplace = false, .canRemove = true }));
    QVERIFY((maintenanceFace(true, false) == MaintenanceFace { .canReplace = false, .canRemove = false }));
    QVERIFY((maintenanceFace(true, true) == MaintenanceFace { .canReplace = false, .canRemove = false }));
}

QTEST_GUILESS_MAIN(StateFaceTest)
#include "StateFaceTest.moc"
