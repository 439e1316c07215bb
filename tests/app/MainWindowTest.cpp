#include "ContentView.h"
#include "FailureView.h"
#include "HeaderView.h"
#include "LogView.h"
#include "PlayArea.h"
#include "PlayButton.h"
#include "ProgressBlock.h"
#include "Stage.h"
#include "StateFace.h"

#include <QProgressBar>
#include <QScreen>

using namespace Qt::StringLiterals;

namespace {

const QString title = u"2D Platformer"_s;
const QString hint = u"Downloads the game and the Godot engine once, about 60 MB. Nothing to type."_s;

}

class MainWindowTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theWindowHasItsTitleAndItsSizes()
    {
        Stage stage;
        const MainWindow window(stage.model, stage.player.preferences);
        const QSize screen = window.screen()->availableSize();
        QCOMPARE(window.windowTitle(), title);
        QCOMPARE(window.size(), QSize(600, 720).boundedTo(screen));
        QCOMPARE(window.minimumSize(), QSize(560, 640).boundedTo(screen));
        QCOMPARE(window.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    }

    void beforeTheFirstDownloadTheHeaderShowsTheBuiltInDescription()
    {
        const Stage stage(Stage::usual);
        QCOMPARE(Stage::texts(*stage.visible<HeaderView>()),
                 QStringList({ title,
                               u"A small 2D platformer made with Godot. The game and its details are read "
                               "from the repository after the first download."_s }));
    }

    void withFactsTheHeaderShowsBlurbLicenceAndControlsButNotTheProjectsName()
    {
        Stage stage(Stage::usual);
        const auto texts = [&stage] { return Stage::texts(*stage.visible<HeaderView>()); };
        ProjectInfo game = Samples::game();
        stage.show(game);
        const QStringList facts { title, game.blurb, u"Licence: MIT License"_s, u"Controls"_s };
        QCOMPARE(texts(), facts + game.controls);
        QVERIFY(!stage.texts().contains(game.name));

        game.controls = QStringList { u"Space: jump"_s };
        stage.show(game);
        QCOMPARE(texts(), facts + game.controls);

        stage.show(std::nullopt);
        QCOMPARE(texts().size(), 2);
    }

    void readyShowsNoHintAndNeedsDoesEvenWithTheGameThere()
    {
        Stage stage(Stage::usual);
        QVERIFY(stage.texts().contains(hint));
        stage.show(Samples::game());
        stage.show(AppState::ready());
        QVERIFY(stage.shows<PlayButton>());
        QVERIFY(!stage.texts().contains(hint));
        stage.fail(3);
        QVERIFY(stage.shows<PlayButton>());
        QVERIFY(stage.texts().contains(hint));
    }

    void theProgressReplacesThePlayButtonWhileAnInstallRuns()
    {
        Stage stage(Stage::usual);
        stage.model.stepText = u"the step"_s;
        stage.model.progress = 0.25;
        stage.model.progressDetail = u"the detail"_s;
        stage.show(AppState::downloading(u"the game"_s));
        QVERIFY(!stage.shows<PlayButton>());
        const auto *block = stage.visible<ProgressBlock>();
        QVERIFY(block->width() <= 360);
        QCOMPARE(Stage::texts(*block), QStringList({ u"the step"_s, u"the detail"_s }));
        QCOMPARE(stage.visible<QProgressBar>()->maximum(), 1000);
        QCOMPARE(stage.visible<QProgressBar>()->value(), 250);
        QVERIFY(Stage::hasButton(*block, Button::cancel));

        stage.show(AppState::settingUp());
        QVERIFY(stage.shows<ProgressBlock>());
    }

    void withoutAFractionTheBarIsIndeterminate()
    {
        Stage stage(Stage::usual);
        stage.show(AppState::settingUp());
        const auto *bar = stage.visible<QProgressBar>();
        QCOMPARE(bar->minimum(), 0);
        QCOMPARE(bar->maximum(), 0);
        stage.model.progress = 1.0;
        Stage::settle();
        QVERIFY(bar->maximum() > 0);
        QCOMPARE(bar->value(), bar->maximum());
        stage.model.progress = std::nullopt;
        Stage::settle();
        QCOMPARE(bar->maximum(), 0);
    }

    void theNeedIsShownUnlessTheFailureViewSaysIt()
    {
        Stage stage(Stage::usual);
        const QString need = u"The code host could not be reached."_s;
        stage.show(AppState::needs(need));
        QCOMPARE(stage.texts().count(need), 1);
        QVERIFY(!stage.shows<FailureView>());

        stage.fail(0, need);
        QCOMPARE(stage.texts().count(need), 1);
        QVERIFY(Stage::texts(*stage.visible<FailureView>()).contains(need));
    }

    void theViewsStandInTheirOrder()
    {
        Stage stage;
        stage.model.notice = u"a notice"_s;
        stage.model.showLog = true;
        stage.fail(3);
        stage.open(QSize(600, 1200));

        QRect above = stage.place(stage.visible<HeaderView>());
        QCOMPARE(above.topLeft(), QPoint(20, 20));
        for (const QWidget *view : std::initializer_list<const QWidget *> {
                 stage.visible<PlayArea>(), stage.visible<FailureView>(),
                 Stage::label(*stage.window, u"a notice"_s), stage.visible<LogView>() }) {
            QCOMPARE(stage.place(view).top() - above.bottom() - 1, 16);
            above = stage.place(view);
        }
        const QRect log = stage.place(stage.button(Button::hideLog));
        const QRect settings = stage.place(stage.button(Button::settings));
        QVERIFY(log.top() - above.bottom() > 16);
        QCOMPARE(stage.window->height() - log.bottom() - 1, 20);
        QVERIFY(log.left() < settings.left());
        QVERIFY(settings.left() < stage.place(stage.button(Button::about)).left());
    }

    void theNoticeIsShownOnlyWhileItIsSet()
    {
        Stage stage(Stage::usual);
        for (const auto &notice : { std::optional(u"a notice"_s), std::optional<QString>() }) {
            stage.model.notice = notice;
            Stage::settle();
            QCOMPARE(stage.texts().contains(u"a notice"_s), notice.has_value());
        }
    }

    void theLogButtonOpensAndClosesTheLog()
    {
        const Stage stage(Stage::usual);
        QVERIFY(!stage.shows<LogView>());
        stage.click(Button::showLog);
        QVERIFY(stage.model.showLog);
        QVERIFY(stage.shows<LogView>());
        QVERIFY(!stage.hasButton(Button::showLog));
        stage.click(Button::hideLog);
        QVERIFY(!stage.model.showLog);
        QVERIFY(!stage.shows<LogView>());
    }

    void settingsAndAboutOpenTheirSheetsOnce()
    {
        Stage stage;
        stage.openSettings();
        stage.visible<ContentView>()->showSettings();
        QCOMPARE(stage.window->findChildren<SettingsView *>().size(), 1);
        stage.click(Button::done);
        QVERIFY(!stage.shows<SettingsView>());

        stage.openAbout();
        stage.visible<ContentView>()->showAbout();
        QCOMPARE(stage.window->findChildren<AboutView *>().size(), 1);
        stage.press(Qt::Key_Escape);
        QVERIFY(!stage.shows<AboutView>());
        stage.openSettings();
    }

    void aThousandChangesCostOneRedraw()
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

    void theViewsReadWhatTheAnnouncementAnnounced()
    {
        Stage stage(Stage::usual);
        const QStringList before = stage.texts();
        const QString ready = stateFace(AppState::ready(), false).label;
        QVERIFY(!before.contains(ready));
        stage.model.state = AppState::ready();
        // Not yet: the announcement comes before the change.
        QCOMPARE(stage.texts(), before);
        Stage::settle();
        QVERIFY(stage.texts().contains(ready));
    }

    void stopBeforeTheGameExistsCancelsTheStart()
    {
        Stage stage;
        stage.startSlowHost();
        stage.open();
        stage.click(Button::play);
        // The state is set when the step begins, after the clean-up.
        QTRY_COMPARE(stage.model.state->kind(), AppState::Case::Downloading);
        QTRY_VERIFY(stage.shows<ProgressBlock>());
        QVERIFY(stage.model.isWorking());
        // The moment between the last step and the game's process.
        stage.show(AppState::starting());
        QVERIFY(!stage.model.runner.isRunning);
        stage.click(Button::stop);
        QTRY_VERIFY(!stage.model.isWorking());
        QVERIFY(!stage.player.hasFailed());
        QTRY_VERIFY(stage.shows<PlayButton>());
    }

    void playStartsTheGameAndStopEndsIt()
    {
        Stage stage;
        stage.player.startHost();
        stage.open();
        stage.click(Button::play);
        QTRY_VERIFY_WITH_TIMEOUT(stage.hasButton(Button::stop), 20000);
        QVERIFY(stage.model.runner.isRunning);
        // A press of Stop while the child is being launched has no effect.
        const auto isGameThere = [&stage] { return stage.model.log.lines->last().startsWith(u"playing"_s); };
        QTRY_VERIFY_WITH_TIMEOUT(isGameThere(), 20000);
        stage.click(Button::stop);
        QTRY_VERIFY_WITH_TIMEOUT(stage.shows<PlayButton>(), 20000);
        QVERIFY(!stage.model.runner.isRunning);
        QVERIFY(stage.model.state.get() == AppState::ready());
        QVERIFY(!stage.texts().contains(hint));
    }

    void cancelEndsTheDownload()
    {
        Stage stage;
        stage.startSlowHost();
        stage.open();
        stage.click(Button::play);
        QTRY_VERIFY(stage.shows<ProgressBlock>());
        stage.click(Button::cancel);
        QTRY_VERIFY(stage.shows<PlayButton>());
        QTRY_VERIFY(!stage.model.isWorking());
        QVERIFY(!stage.shows<FailureView>());
    }

    void nothingBelowTheActionMovesWhenTheStateChanges()
    {
        Stage stage;
        stage.model.notice = u"a notice"_s;
        stage.model.progressDetail = u"20.2 MB of 48.1 MB"_s;
        stage.open();
        const auto places = [&stage] {
            return std::pair(stage.visible<PlayArea>()->geometry(), stage.place(stage.button(Button::about)));
        };
        const auto before = places();
        for (const AppState &state :
             { AppState::downloading(u"the game"_s), AppState::settingUp(), AppState::ready(),
               AppState::starting(), AppState::playing(), AppState::notDownloaded() }) {
            // The step's text alternates between two lines and none.
            stage.model.stepText = stage.model.stepText->isEmpty()
                ? u"Step 2 of 4: downloading the engine with the longest display name of all, Godot 4.6.1 (.NET)"_s
                : QString();
            stage.show(state);
            QCOMPARE(places(), before);
        }
    }

    void markupInTheGamesTextsIsShownAsItIs()
    {
        Stage stage(Stage::usual);
        ProjectInfo game = Samples::game();
        game.blurb = u"<b>bold</b> & <img src='file:///x'> \u202egnp"_s;
        stage.show(game);
        QCOMPARE(Stage::texts(*stage.visible<HeaderView>()).at(1),
                 u"<b>bold</b> & <img src='file:///x'> \ufffdgnp"_s);
        for (const TextLabel *label : stage.window->findChildren<TextLabel *>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
    }

    void aFailureThatLiesBelowTheWindowIsBroughtIntoView()
    {
        Stage stage;
        stage.model.info = Samples::wordyGame();
        stage.open(Stage::narrow);
        stage.fail(30);
        QVERIFY(stage.window->rect().contains(stage.place(stage.visible<FailureView>())));
    }

    void anOpenedLogIsInViewWithTheButtonThatClosesIt()
    {
        Stage stage;
        stage.model.info = Samples::wordyGame();
        stage.open(Stage::narrow);
        stage.model.showLog = true;
        Stage::settle();
        QVERIFY(stage.window->rect().contains(stage.place(stage.visible<LogView>())));
        QVERIFY(stage.window->rect().contains(stage.place(stage.button(Button::hideLog))));
    }
};

QTEST_MAIN(FailsCleanly<MainWindowTest>)
#include "MainWindowTest.moc"
