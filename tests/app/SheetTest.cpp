#include "CodeHost.h"
#include "ContentView.h"
#include "LinkButton.h"
#include "Look.h"
#include "Stage.h"
#include "Table.h"

#include <QComboBox>
#include <QScopeGuard>
#include <QScrollArea>
#include <QWheelEvent>

class SheetTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void aSheetIsOpenOnceInsideItsWindowUntilDoneReturnOrEscape()
    {
        for (const auto &leave : { clicking(Button::done), pressing(Qt::Key_Return), pressing(Qt::Key_Enter),
                                   pressing(Qt::Key_Escape) }) {
            for (const QString &name : { Button::settings, Button::about }) {
                const auto *sheet = openSheet(name);
                QCOMPARE(sheet->window(), &window());
                QVERIFY(isInView(sheet));
                auto *content = visible<ContentView>();
                name == Button::settings ? content->showSettings() : content->showAbout();
                QCOMPARE(window().findChildren<Sheet *>().size(), 1);
                leave();
                QTRY_VERIFY(!window().findChild<Sheet *>());
            }
        }
        // Even when something other than "Done" has the focus.
        openSettings();
        visible<QComboBox>()->setFocus();
        press(Qt::Key_Return);
        QVERIFY(!shows<Sheet>());
    }

    void theWheelOverTheWindowSizeChangesNothing()
    {
        const QString size = u"1280x720"_s;
        player.preferences.setResolution(size);
        openSettings();
        auto *choice = visible<QComboBox>();
        for (const bool isFocused : { false, true }) {
            if (isFocused)
                choice->setFocus();
            const QPointF middle = choice->rect().center();
            QWheelEvent turn(middle, choice->mapToGlobal(middle), QPoint(), QPoint(0, -120), Qt::NoButton,
                             Qt::NoModifier, Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(choice, &turn);
            settle();
            QCOMPARE(choice->currentText(), size);
            QCOMPARE(player.preferences.resolution(), size);
        }
    }

    void aNoticeIsShownInTheSheetThatCoversIt_data()
    {
        const auto row = table<QString, QString>("sheet", "choice");
        row("reveal", Button::settings, Button::reveal);
        row("saves", Button::settings, Button::showSaves);
        row("link", Button::about, CodeHost::url(u"/Kestrelwood/Vantor"_s).toString());
    }

    void aNoticeIsShownInTheSheetThatCoversIt()
    {
        QFETCH(const QString, sheet);
        QFETCH(const QString, choice);
        player.workspace.opensNothing = true;
        QString notice;
        // The same notice is news again the second time.
        for (int time = 0; time < 2; ++time) {
            QWidget *shown = openSheet(sheet);
            QVERIFY(notice.isEmpty() || !texts().contains(notice));
            click(choice);
            QTRY_VERIFY(model.notice->has_value());
            notice = model.notice->value();
            QTRY_VERIFY(texts().contains(notice));
            settle();
            const auto *text = label(notice);
            QVERIFY(shown->rect().contains(placeIn(*shown, *text)));
            QVERIFY(text->height() >= text->heightForWidth(text->width()));
            click(Button::done);
            QVERIFY(texts().contains(notice));
        }
    }

    void aNoticeFromBeforeIsNotRepeatedInTheSheet()
    {
        model.notice = u"from before"_s;
        openSettings();
        QVERIFY(!texts().contains(u"from before"_s));
        set(model.notice, u"news"_s);
        QVERIFY(texts().contains(u"news"_s));
    }

    void theTextsOfAboutStandInTheirOrder()
    {
        openAbout();
        const QStringList all = texts();
        QCOMPARE(all.size(), 6);
        QCOMPARE(all.first(4),
                 QStringList({ u"About"_s, u"Game by its author. Licence: see the repository"_s,
                               u"The game belongs to its author; this app only downloads and starts it."_s,
                               u"Based on Kestrelwood/Vantor, MIT License."_s }));
        for (const auto word : { "Godot"_L1, "MIT"_L1, "contributors"_L1 })
            QVERIFY(all.at(4).contains(word));
        QVERIFY(all.at(5).contains(CodeHost::address().host()));
        QVERIFY(hasButton(Button::done));

        set(model.info, Samples::game());
        QCOMPARE(texts().at(1), u"Game by Ada Hill. Licence: MIT License"_s);
    }

    void theLinkOpensThePageInTheDesktopsBrowser()
    {
        openAbout();
        const QList<QUrl> &browsed = player.workspace.browsed;
        const QUrl page = CodeHost::url(u"/Kestrelwood/Vantor"_s);
        click(page.toString());
        QCOMPARE(browsed, QList<QUrl> { page });
        auto *link = visible<LinkButton>();
        link->setFocus();
        QTest::keyClick(link, Qt::Key_Space);
        QCOMPARE(browsed.size(), 2);
        QVERIFY(shows<AboutView>());
    }

    void anAddressThatDoesNotParseIsLeftOut()
    {
        CodeHost::setAddress(QUrl());
        const auto restore = qScopeGuard([] { CodeHost::setAddress(CodeHost::official()); });
        openAbout();
        QVERIFY(!shows<LinkButton>());
        QCOMPARE(texts().size(), 6);
    }

    void doneIsInTheSheetHoweverLittleRoomThereIs()
    {
        const Look::Desktop tooLargeForAnyScreen(Look::font(32));
        auto *sheet = openSettings();
        const auto *area = visible<QScrollArea>(*sheet);
        QVERIFY(area->widget()->height() > area->viewport()->height());
        QVERIFY(sheet->rect().contains(placeIn(*sheet, *button(Button::done))));
    }
};

QTEST_MAIN(FreshForEach<SheetTest>)
#include "SheetTest.moc"
