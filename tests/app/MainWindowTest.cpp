#include "AboutView.h"
#include "Banner.h"
#include "ContentView.h"
#include "FailureView.h"
#include "HeaderView.h"
#include "LogView.h"
#include "PlayArea.h"
#include "PlayButton.h"
#include "ProgressBlock.h"
#include "Samples.h"
#include "SettingsView.h"
#include "Stage.h"
#include "TextLabel.h"

#include <QProgressBar>
#include <QScreen>

namespace {

const QString hint
    = QStringLiteral("Downloads the game and the Godot engine once, about 60 MB. Nothing to type.");

}

class MainWindowTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theWindowHasItsTitleAndItsSizes();
    void beforeTheFirstDownloadTheHeaderShowsTheBuiltInDescription();
    void withFactsTheHeaderShowsBlurbLicenceAndControls();
    void theProjectsOwnNameIsNeverTheTitle();
    void readyShowsNoHintAndNeedsDoesEvenWithTheGameThere();
    void whileAnInstallRunsThePlayButtonGivesWayToTheProgress();
    void withoutAFractionTheBarIsIndeterminate();
    void theNeedIsShownUnlessTheFailureViewSaysIt();
    void theViewsStandInTheirOrder();
    void theNoticeIsShownOnlyWhileItIsSet();
    void theLogButtonOpensAndClosesTheLog();
    void settingsAndAboutOpenTheirSheetsOnce();
    void aThousandChangesCostOneRedraw();
    void theViewsReadWhatTheAnnouncementAnnounced();
    void stopBeforeTheGameExistsCancelsTheStart();
    void playStartsTheGameAndStopEndsIt();
    void cancelEndsTheDownload();
    void thePlayButtonHasItsSize();
    void nothingBelowTheActionMovesWhenTheStateChanges();
    void markupInTheGamesTextsIsShownAsItIs();
    void aFailureThatLiesBelowTheWindowIsBroughtIntoView();
    void anOpenedLogIsInViewWithTheButtonThatClosesIt();
};

void MainWindowTest::theWindowHasItsTitleAndItsSizes()
{
    Stage stage;
    MainWindow window(stage.model, stage.player.preferences);
    QCOMPARE(window.windowTitle(), QStringLiteral("2D Platformer"));
    QCOMPARE(window.size(), QSize(600, 720).boundedTo(window.screen()->availableSize()));
    QCOMPARE(window.minimumSize(), QSize(560, 640).boundedTo(window.screen()->availableSize()));
    QCOMPARE(window.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
}

void MainWindowTest::beforeTheFirstDownloadTheHeaderShowsTheBuiltInDescription()
{
    Stage stage;
    stage.open();
    const auto *header = stage.visible<HeaderView>();
    QCOMPARE(
        Stage::texts(*header),
        (QStringList { QStringLiteral("2D Platformer"),
                       QStringLiteral("A small 2D platformer made with Godot. The game and its details are "
                                      "read from the repository after the first download.") }));
    const auto *banner = stage.visible<Banner>();
    QCOMPARE(banner->height(), 130);
    QCOMPARE(banner->width(), stage.window->width() - 40);
}

void MainWindowTest::withFactsTheHeaderShowsBlurbLicenceAndControls()
{
    Stage stage;
    stage.open();
    stage.model.info = Samples::game();
    Stage::settle();
    const ProjectInfo game = Samples::game();
    QCOMPARE(Stage::texts(*stage.visible<HeaderView>()),
             (QStringList { QStringLiteral("2D Platformer"), game.blurb,
                            QStringLiteral("Licence: MIT License"), QStringLiteral("Controls") }
              + game.controls));

    ProjectInfo shorter = game;
    shorter.controls = { QStringLiteral("Space: jump") };
    stage.model.info = shorter;
    Stage::settle();
    QCOMPARE(Stage::texts(*stage.visible<HeaderView>()).mid(3),
             (QStringList { QStringLiteral("Controls"), QStringLiteral("Space: jump") }));

    stage.model.info = std::nullopt;
    Stage::settle();
    QCOMPARE(Stage::texts(*stage.visible<HeaderView>()).size(), 2);
}

void MainWindowTest::theProjectsOwnNameIsNeverTheTitle()
{
    Stage stage;
    stage.open();
    stage.model.info = Samples::game();
    Stage::settle();
    QCOMPARE(Stage::texts(*stage.visible<HeaderView>()).first(), QStringLiteral("2D Platformer"));
    QVERIFY(!Stage::texts(*stage.window).contains(Samples::game().name));
}

void MainWindowTest::readyShowsNoHintAndNeedsDoesEvenWithTheGameThere()
{
    Stage stage;
    stage.open();
    QVERIFY(Stage::texts(*stage.window).contains(hint));
    stage.model.info = Samples::game();
    stage.model.state = AppState::ready();
    Stage::settle();
    QVERIFY(stage.visible<PlayButton>());
    QVERIFY(!Stage::texts(*stage.window).contains(hint));

    Samples::fail(stage.model, Samples::earlyEnd, 3);
    Stage::settle();
    QVERIFY(stage.visible<PlayButton>());
    QVERIFY(Stage::texts(*stage.window).contains(hint));
}

void MainWindowTest::whileAnInstallRunsThePlayButtonGivesWayToTheProgress()
{
    Stage stage;
    stage.open();
    stage.model.state = AppState::downloading(QStringLiteral("the game"));
    stage.model.stepText = QStringLiteral("Step 1 of 4: downloading the game");
    stage.model.progress = 0.25;
    stage.model.progressDetail = QStringLiteral("1 MB of 4 MB");
    Stage::settle();
    QVERIFY(!stage.visible<PlayButton>());
    const auto *block = stage.visible<ProgressBlock>();
    QVERIFY(block);
    QVERIFY(block->width() <= 360);
    QCOMPARE(Stage::texts(*block),
             (QStringList { QStringLiteral("Step 1 of 4: downloading the game"),
                            QStringLiteral("1 MB of 4 MB") }));
    const auto *bar = block->findChild<QProgressBar *>();
    QCOMPARE(bar->maximum(), 1000);
    QCOMPARE(bar->value(), 250);
    QVERIFY(Stage::button(*block, QStringLiteral("Cancel")));

    stage.model.state = AppState::settingUp();
    Stage::settle();
    QVERIFY(stage.visible<ProgressBlock>());
}

void MainWindowTest::withoutAFractionTheBarIsIndeterminate()
{
    Stage stage;
    stage.open();
    stage.model.state = AppState::settingUp();
    Stage::settle();
    const auto *bar = stage.visible<QProgressBar>();
    QCOMPARE(bar->minimum(), 0);
    QCOMPARE(bar->maximum(), 0);
    stage.model.progress = 1.0;
    Stage::settle();
    QCOMPARE(bar->value(), bar->maximum());
    stage.model.progress = std::nullopt;
    Stage::settle();
    QCOMPARE(bar->maximum(), 0);
}

void MainWindowTest::theNeedIsShownUnlessTheFailureViewSaysIt()
{
    Stage stage;
    stage.open();
    const QString need = QStringLiteral("The code host could not be reached.");
    stage.model.state = AppState::needs(need);
    Stage::settle();
    QCOMPARE(Stage::texts(*stage.window).count(need), 1);
    QVERIFY(!stage.visible<FailureView>());

    stage.model.failureMessage = need;
    Stage::settle();
    QCOMPARE(Stage::texts(*stage.window).count(need), 1);
    QVERIFY(Stage::texts(*stage.visible<FailureView>()).contains(need));
    QVERIFY(!Stage::texts(*stage.visible<PlayArea>()).contains(need));
}

void MainWindowTest::theViewsStandInTheirOrder()
{
    Stage stage;
    Samples::fail(stage.model, Samples::earlyEnd, 3);
    stage.model.notice = QStringLiteral("Nothing is downloaded yet.");
    stage.model.showLog = true;
    stage.open(QSize(600, 1200));

    const auto place = [&stage](const QWidget *view) {
        return QRect(view->mapTo(stage.window.get(), QPoint(0, 0)), view->size());
    };
    const auto labels = stage.window->findChildren<TextLabel *>();
    const auto notice = std::find_if(labels.begin(), labels.end(), [](const TextLabel *label) {
        return label->text() == QStringLiteral("Nothing is downloaded yet.");
    });
    const QList<QRect> places {
        place(stage.visible<HeaderView>()),  place(stage.visible<PlayArea>()),
        place(stage.visible<FailureView>()), place(*notice),
        place(stage.visible<LogView>()),     place(Stage::button(*stage.window, QStringLiteral("Hide log")))
    };
    QCOMPARE(places.first().left(), 20);
    QCOMPARE(places.first().top(), 20);
    for (qsizetype view = 1; view + 1 < places.size(); ++view)
        QCOMPARE(places.at(view).top() - places.at(view - 1).bottom() - 1, 16);
    QVERIFY(places.last().top() - places.at(4).bottom() > 16);
    QCOMPARE(stage.window->height() - places.last().bottom() - 1, 20);

    const auto left
        = [&stage, place](const QString &text) { return place(Stage::button(*stage.window, text)).left(); };
    QVERIFY(left(QStringLiteral("Hide log")) < left(QStringLiteral("Settings\u2026")));
    QVERIFY(left(QStringLiteral("Settings\u2026")) < left(QStringLiteral("About")));
}

void MainWindowTest::theNoticeIsShownOnlyWhileItIsSet()
{
    Stage stage;
    stage.open();
    const QString notice = QStringLiteral("Everything was removed.");
    stage.model.notice = notice;
    Stage::settle();
    QVERIFY(Stage::texts(*stage.window).contains(notice));
    stage.model.notice = std::nullopt;
    Stage::settle();
    QVERIFY(!Stage::texts(*stage.window).contains(notice));
}

void MainWindowTest::theLogButtonOpensAndClosesTheLog()
{
    Stage stage;
    stage.open();
    QVERIFY(!stage.visible<LogView>());
    Stage::click(*stage.window, QStringLiteral("Show log"));
    QVERIFY(stage.model.showLog);
    QVERIFY(stage.visible<LogView>());
    QVERIFY(!Stage::button(*stage.window, QStringLiteral("Show log")));
    Stage::click(*stage.window, QStringLiteral("Hide log"));
    QVERIFY(!stage.model.showLog);
    QVERIFY(!stage.visible<LogView>());
}

void MainWindowTest::settingsAndAboutOpenTheirSheetsOnce()
{
    Stage stage;
    stage.open();
    Stage::click(*stage.window, QStringLiteral("Settings\u2026"));
    QVERIFY(stage.visible<SettingsView>());
    stage.window->findChild<ContentView *>()->showSettings();
    QCOMPARE(stage.window->findChildren<SettingsView *>().size(), 1);
    Stage::click(*stage.visible<SettingsView>(), QStringLiteral("Done"));
    QVERIFY(!stage.visible<SettingsView>());

    Stage::click(*stage.window, QStringLiteral("About"));
    QVERIFY(stage.visible<AboutView>());
    stage.window->findChild<ContentView *>()->showAbout();
    QCOMPARE(stage.window->findChildren<AboutView *>().size(), 1);
    QTest::keyClick(stage.visible<AboutView>(), Qt::Key_Escape);
    Stage::settle();
    QVERIFY(!stage.visible<AboutView>());
    Stage::click(*stage.window, QStringLiteral("Settings\u2026"));
    QVERIFY(stage.visible<SettingsView>());
}

void MainWindowTest::aThousandChangesCostOneRedraw()
{
    Stage stage;
    int redraws = 0;
    RefreshOnce refresh(&stage.model, [&redraws] { ++redraws; });
    refresh.watch(stage.model);
    for (int change = 0; change < 1000; ++change)
        stage.model.progress = change / 1000.0;
    QCOMPARE(redraws, 0);
    QTRY_COMPARE(redraws, 1);
    QTest::qWait(20);
    QCOMPARE(redraws, 1);
}

void MainWindowTest::theViewsReadWhatTheAnnouncementAnnounced()
{
    Stage stage;
    stage.open();
    stage.model.state = AppState::ready();
    // Not yet: the announcement comes before the change.
    QVERIFY(Stage::texts(*stage.visible<PlayArea>()).contains(QStringLiteral("Not downloaded")));
    Stage::settle();
    QVERIFY(Stage::texts(*stage.visible<PlayArea>()).contains(QStringLiteral("Ready")));
}

void MainWindowTest::stopBeforeTheGameExistsCancelsTheStart()
{
    Stage stage;
    stage.player.startHost({ QStringLiteral("--slow"), QStringLiteral("1") });
    stage.open();
    Stage::click(*stage.window, QStringLiteral("Play"));
    // The state is set when the step begins, after the clean-up.
    QTRY_COMPARE(stage.model.stepText.get(), QStringLiteral("Step 1 of 4: downloading the game"));
    QTRY_VERIFY(stage.visible<ProgressBlock>());
    QVERIFY(stage.model.isWorking());
    // The moment between the last step and the game's process.
    stage.model.state = AppState::starting();
    Stage::settle();
    QVERIFY(!stage.model.runner.isRunning);
    Stage::click(*stage.window, QStringLiteral("Stop"));
    QTRY_VERIFY(!stage.model.isWorking());
    QCOMPARE(stage.model.log.lines->last(), QStringLiteral("Cancelled."));
    QTRY_VERIFY(stage.visible<PlayButton>());
}

void MainWindowTest::playStartsTheGameAndStopEndsIt()
{
    Stage stage;
    stage.player.startHost();
    stage.open();
    QTest::mouseClick(stage.visible<PlayButton>(), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(Stage::button(*stage.window, QStringLiteral("Stop")), 20000);
    QVERIFY(stage.model.runner.isRunning);
    // A press of Stop while the child is being launched has no effect.
    QTRY_COMPARE_WITH_TIMEOUT(stage.model.log.lines->last().startsWith(QStringLiteral("playing")), true,
                              20000);
    Stage::click(*stage.window, QStringLiteral("Stop"));
    QTRY_VERIFY_WITH_TIMEOUT(stage.visible<PlayButton>(), 20000);
    QVERIFY(!stage.model.runner.isRunning);
    QVERIFY(stage.model.state.get() == AppState::ready());
    QVERIFY(!Stage::texts(*stage.window).contains(hint));
}

void MainWindowTest::cancelEndsTheDownload()
{
    Stage stage;
    stage.player.startHost({ QStringLiteral("--slow"), QStringLiteral("1") });
    stage.open();
    Stage::click(*stage.window, QStringLiteral("Play"));
    QTRY_VERIFY(stage.visible<ProgressBlock>());
    Stage::click(*stage.window, QStringLiteral("Cancel"));
    QTRY_VERIFY(stage.visible<PlayButton>());
    QTRY_VERIFY(!stage.model.isWorking());
    QVERIFY(!stage.visible<FailureView>());
}

void MainWindowTest::thePlayButtonHasItsSize()
{
    Stage stage;
    stage.open();
    QCOMPARE(stage.visible<PlayButton>()->size(), QSize(260, 56));
    stage.model.state = AppState::playing();
    Stage::settle();
    QCOMPARE(Stage::button(*stage.window, QStringLiteral("Stop"))->width(), 220);
}

void MainWindowTest::nothingBelowTheActionMovesWhenTheStateChanges()
{
    Stage stage;
    stage.model.notice = QStringLiteral("Nothing is downloaded yet.");
    stage.open();
    const auto *area = stage.visible<PlayArea>();
    const QRect before = area->geometry();
    const QPoint row
        = Stage::button(*stage.window, QStringLiteral("About"))->mapTo(stage.window.get(), QPoint());
    stage.model.progressDetail = QStringLiteral("20.2 MB of 48.1 MB");
    for (const AppState &state :
         { AppState::downloading(QStringLiteral("the game")), AppState::settingUp(), AppState::ready(),
           AppState::starting(), AppState::playing(), AppState::notDownloaded() }) {
        stage.model.state = state;
        // The step's text alternates between two lines and none.
        stage.model.stepText = stage.model.stepText->isEmpty()
            ? QStringLiteral("Step 2 of 4: downloading the engine with the longest display name of all, "
                             "Godot 4.6.1 (.NET)")
            : QString();
        Stage::settle();
        QCOMPARE(area->geometry(), before);
        QCOMPARE(Stage::button(*stage.window, QStringLiteral("About"))->mapTo(stage.window.get(), QPoint()),
                 row);
    }
}

void MainWindowTest::markupInTheGamesTextsIsShownAsItIs()
{
    Stage stage;
    stage.open();
    ProjectInfo game = Samples::game();
    game.blurb = QStringLiteral("<b>bold</b> & <img src='file:///x'> \u202egnp");
    stage.model.info = game;
    Stage::settle();
    QCOMPARE(Stage::texts(*stage.visible<HeaderView>()).at(1),
             QStringLiteral("<b>bold</b> & <img src='file:///x'> \ufffdgnp"));
    const auto labels = stage.window->findChildren<TextLabel *>();
    for (const TextLabel *label : labels)
        QCOMPARE(label->textFormat(), Qt::PlainText);
}

void MainWindowTest::aFailureThatLiesBelowTheWindowIsBroughtIntoView()
{
    Stage stage;
    stage.model.info = Samples::wordyGame();
    stage.open(QSize(560, 640));
    Samples::fail(stage.model, Samples::earlyEnd, 30);
    Stage::settle();
    const auto *failure = stage.visible<FailureView>();
    const QRect place(failure->mapTo(stage.window.get(), QPoint(0, 0)), failure->size());
    QVERIFY(stage.window->rect().contains(place));
}

void MainWindowTest::anOpenedLogIsInViewWithTheButtonThatClosesIt()
{
    Stage stage;
    stage.model.info = Samples::wordyGame();
    stage.open(QSize(560, 640));
    stage.model.showLog = true;
    Stage::settle();
    for (const QWidget *view :
         { static_cast<QWidget *>(stage.visible<LogView>()),
           static_cast<QWidget *>(Stage::button(*stage.window, QStringLiteral("Hide log"))) })
        QVERIFY(stage.window->rect().contains(
            QRect(view->mapTo(stage.window.get(), QPoint(0, 0)), view->size())));
}

QTEST_MAIN(MainWindowTest)
#include "MainWindowTest.moc"
