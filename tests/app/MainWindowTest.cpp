#include "FailureView.h"
#include "HeaderView.h"
#include "LogView.h"
#include "PlayArea.h"
#include "PlayButton.h"
#include "ProgressBlock.h"
#include "Stage.h"
#include "StateFace.h"
#include "Table.h"

#include <QAbstractAnimation>
#include <QGraphicsEffect>
#include <QProgressBar>
#include <QProxyStyle>
#include <QScreen>

static const QString title = u"2D Platformer"_s;

namespace {

/// A desktop whose animations take so long.
class Motion final : public QProxyStyle {
public:
    explicit Motion(int milliseconds)
        : m_milliseconds(milliseconds)
    {
    }

    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *data) const override
    {
        return hint == SH_Widget_Animation_Duration ? m_milliseconds
                                                    : QProxyStyle::styleHint(hint, option, widget, data);
    }

private:
    const int m_milliseconds;
};

}

class MainWindowTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void theWindowHasItsTitleAndItsSizes()
    {
        const MainWindow launcher(model, player.preferences);
        const QSize screen = launcher.screen()->availableSize();
        QCOMPARE(launcher.windowTitle(), title);
        QCOMPARE(launcher.size(), QSize(600, 720).boundedTo(screen));
        QCOMPARE(launcher.minimumSize(), QSize(560, 640).boundedTo(screen));
        QCOMPARE(launcher.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    }

    void theHeaderShowsTheFactsOfTheGameButNotItsNameOrElseTheBuiltInDescription()
    {
        const QStringList builtIn { title,
                                    u"A small 2D platformer made with Godot. The game and its details are "
                                    "read from the repository after the first download."_s };
        QCOMPARE(header(), builtIn);
        ProjectInfo game = Samples::game();
        const QStringList facts { title, game.blurb, u"Licence: MIT License"_s, u"Controls"_s };
        for (const QStringList &controls : { game.controls, QStringList(u"Space: jump"_s) }) {
            game.controls = controls;
            set(model.info, game);
            QCOMPARE(header(), facts + controls);
            QVERIFY(!texts().contains(game.name));
        }
        set(model.info, std::nullopt);
        QCOMPARE(header(), builtIn);
    }

    void theProgressReplacesThePlayButtonWhileAnInstallRuns()
    {
        model.stepText = u"the step"_s;
        model.progress = 0.25;
        model.progressDetail = u"the detail"_s;
        show(AppState::downloading(u"the game"_s));
        QVERIFY(!shows<PlayButton>());
        const auto *block = visible<ProgressBlock>();
        QVERIFY(block->width() <= 360);
        QCOMPARE(texts(*block), QStringList({ u"the step"_s, u"the detail"_s }));
        const auto *bar = visible<QProgressBar>();
        QCOMPARE(bar->maximum(), 1000);
        QCOMPARE(bar->value(), 250);
        QVERIFY(hasButton(Button::cancel));

        show(AppState::settingUp());
        QVERIFY(shows<ProgressBlock>());
        // Without a fraction the bar is indeterminate.
        set(model.progress, std::nullopt);
        QCOMPARE(bar->minimum(), 0);
        QCOMPARE(bar->maximum(), 0);
        set(model.progress, 1.0);
        QCOMPARE(bar->maximum(), 1000);
        QCOMPARE(bar->value(), 1000);
    }

    void aFailureSaysTheNeedAndLeavesTheHintEvenWithTheGameThere()
    {
        const QString need = u"The code host could not be reached."_s;
        set(model.info, Samples::game());
        show(AppState::needs(need));
        QVERIFY(!shows<FailureView>());
        fail(0, need);
        QVERIFY(shows<PlayButton>());
        QCOMPARE(texts().count(need), 1);
        QVERIFY(texts(*visible<FailureView>()).contains(need));
        QVERIFY(texts().contains(playHint));
    }

    void theViewsStandInTheirOrder()
    {
        model.notice = u"a notice"_s;
        model.showLog = true;
        open(QSize(600, 1200));
        fail(3);

        QRect above = place(visible<HeaderView>());
        QCOMPARE(above.topLeft(), QPoint(20, 20));
        for (const QWidget *view : std::initializer_list<const QWidget *> {
                 visible<PlayArea>(), visible<FailureView>(), label(u"a notice"_s), visible<LogView>() }) {
            QCOMPARE(place(view).top() - above.bottom() - 1, 16);
            above = place(view);
        }
        const QRect log = place(button(Button::hideLog));
        const QRect settings = place(button(Button::settings));
        QVERIFY(log.top() - above.bottom() > 16);
        QCOMPARE(window().height() - log.bottom() - 1, 20);
        QVERIFY(log.left() < settings.left());
        QVERIFY(settings.left() < place(button(Button::about)).left());
    }

    void theNoticeIsShownOnlyWhileItIsSet()
    {
        set(model.notice, u"a notice"_s);
        QVERIFY(texts().contains(u"a notice"_s));
        set(model.notice, std::nullopt);
        QVERIFY(!texts().contains(u"a notice"_s));
    }

    void theLogButtonOpensAndClosesTheLog()
    {
        for (const bool isOpen : { false, true, false }) {
            QCOMPARE(model.showLog.get(), isOpen);
            QCOMPARE(shows<LogView>(), isOpen);
            QCOMPARE(hasButton(Button::showLog), !isOpen);
            click(isOpen ? Button::hideLog : Button::showLog);
        }
    }

    void aThousandChangesCostOneRedraw()
    {
        int redraws = 0;
        RefreshOnce refresh(&model, [&redraws] { ++redraws; });
        refresh.watch(model);
        for (int change = 0; change < 1000; ++change)
            model.progress = change / 1000.0;
        QCOMPARE(redraws, 0);
        QTRY_COMPARE(redraws, 1);
        QTest::qWait(20);
        QCOMPARE(redraws, 1);
    }

    void theViewsReadWhatTheAnnouncementAnnounced()
    {
        const QStringList before = texts();
        const QString ready = stateFace(AppState::ready(), false).label;
        QVERIFY(!before.contains(ready));
        model.state = AppState::ready();
        // Not yet: the announcement comes before the change.
        QCOMPARE(texts(), before);
        settle();
        QVERIFY(texts().contains(ready));
    }

    void stopBeforeTheGameExistsCancelsTheStart()
    {
        startSlowHost();
        click(Button::play);
        // The state is set when the step begins, after the clean-up.
        QTRY_COMPARE(model.state->kind(), AppState::Case::Downloading);
        QTRY_VERIFY(shows<ProgressBlock>());
        QVERIFY(model.isWorking());
        // The moment between the last step and the game's process.
        show(AppState::starting());
        QVERIFY(!model.runner.isRunning);
        click(Button::stop);
        QTRY_VERIFY(!model.isWorking());
        QTRY_VERIFY(shows<PlayButton>());
        QVERIFY(!player.hasFailed());
        QVERIFY(!shows<FailureView>());
    }

    void nothingBelowTheActionMovesWhenTheStateChanges()
    {
        model.notice = u"a notice"_s;
        model.progressDetail = u"20.2 MB of 48.1 MB"_s;
        const auto places
            = [this] { return std::pair(visible<PlayArea>()->geometry(), place(button(Button::about))); };
        const auto before = places();
        for (const AppState &state :
             { AppState::downloading(u"the game"_s), AppState::settingUp(), AppState::ready(),
               AppState::starting(), AppState::playing(), AppState::notDownloaded() }) {
            // The step's text alternates between two lines and none.
            model.stepText = model.stepText->isEmpty()
                ? u"Step 2 of 4: downloading the engine with the longest display name of all, Godot 4.6.1 (.NET)"_s
                : QString();
            show(state);
            QCOMPARE(places(), before);
        }
    }

    void playAndStopTakeEachOthersPlace()
    {
        show(AppState::ready());
        const QPoint play = place(visible<PlayButton>()).center();
        for (const AppState &state : { AppState::starting(), AppState::playing() }) {
            show(state);
            QVERIFY((place(button(Button::stop)).center() - play).manhattanLength() <= 1);
        }
    }

    void theNextActionFadesInAndCanBePressedAtOnce_data()
    {
        const auto row = table<int>("milliseconds");
        row("with motion", 160);
        row("without", 0);
    }

    void theNextActionFadesInAndCanBePressedAtOnce()
    {
        QFETCH(const int, milliseconds);
        Motion motion(milliseconds);
        auto *area = visible<PlayArea>();
        area->setStyle(&motion);
        show(AppState::ready());
        model.state = AppState::playing();
        QTRY_VERIFY(hasButton(Button::stop));
        QCOMPARE(area->graphicsEffect() != nullptr, milliseconds > 0);
        const QImage fading = area->grab().toImage();
        QTRY_VERIFY(!area->graphicsEffect());
        QCOMPARE(area->grab().toImage() != fading, milliseconds > 0);

        model.state = AppState::ready();
        QTRY_VERIFY(hasButton(Button::play));
        QCOMPARE(area->graphicsEffect() != nullptr, milliseconds > 0);
        // As happens before the next picture.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        const QPoint play = place(visible<PlayButton>()).center();
        QTest::mousePress(window().windowHandle(), Qt::LeftButton, {}, play);
        QVERIFY(visible<PlayButton>()->isDown());
        // Released beside it, so that it is not pressed after all.
        QTest::mouseRelease(window().windowHandle(), Qt::LeftButton, {}, QPoint(1, 1));
        // Nothing goes on afterwards.
        QTRY_VERIFY(!area->graphicsEffect());
        QVERIFY(area->findChildren<QAbstractAnimation *>().isEmpty());
        QCOMPARE(place(visible<PlayButton>()).center(), play);
    }

    void markupInTheGamesTextsIsShownAsItIs()
    {
        ProjectInfo game = Samples::game();
        game.blurb = u"<b>bold</b> & <img src='file:///x'> \u202egnp"_s;
        set(model.info, game);
        QCOMPARE(header().at(1), u"<b>bold</b> & <img src='file:///x'> \ufffdgnp"_s);
        for (const TextLabel *text : window().findChildren<TextLabel *>())
            QCOMPARE(text->textFormat(), Qt::PlainText);
    }

    void whatAppearsBelowTheEndOfTheWindowIsBroughtIntoView()
    {
        model.info = Samples::wordyGame();
        open(narrow);
        fail(30);
        QVERIFY(isInView(visible<FailureView>()));
        set(model.showLog, true);
        QVERIFY(isInView(visible<LogView>()));
        QVERIFY(isInView(button(Button::hideLog)));
    }

private:
    QStringList header() { return texts(*visible<HeaderView>()); }
};

QTEST_MAIN(FreshForEach<MainWindowTest>)
#include "MainWindowTest.moc"
