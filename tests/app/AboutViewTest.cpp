#include "CodeHost.h"
#include "LinkButton.h"
#include "Stage.h"

#include <QScopeGuard>

using namespace Qt::StringLiterals;

class AboutViewTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theTextsStandInTheirOrder()
    {
        Stage stage;
        stage.openAbout();
        const QStringList all = stage.texts();
        QCOMPARE(all.size(), 6);
        QCOMPARE(all.first(4),
                 QStringList({ u"About"_s, u"Game by its author. Licence: see the repository"_s,
                               u"The game belongs to its author; this app only downloads and starts it."_s,
                               u"Based on Kestrelwood/Vantor, MIT License."_s }));
        for (const auto word : { "Godot"_L1, "MIT"_L1, "contributors"_L1 })
            QVERIFY(all.at(4).contains(word));
        QVERIFY(all.at(5).contains(CodeHost::address().host()));
        QVERIFY(stage.hasButton(Button::done));

        stage.show(Samples::game());
        QCOMPARE(stage.texts().at(1), u"Game by Ada Hill. Licence: MIT License"_s);
    }

    void theLinkOpensThePageInTheDesktopsBrowser()
    {
        Stage stage;
        stage.openAbout();
        const QList<QUrl> &browsed = stage.player.workspace.browsed;
        const QUrl page = CodeHost::url(u"/Kestrelwood/Vantor"_s);
        stage.click(page.toString());
        QCOMPARE(browsed, QList<QUrl> { page });
        auto *link = stage.visible<LinkButton>();
        link->setFocus();
        QTest::keyClick(link, Qt::Key_Space);
        QCOMPARE(browsed.size(), 2);
        QVERIFY(stage.shows<AboutView>());
    }

    void anAddressThatDoesNotParseIsLeftOut()
    {
        CodeHost::setAddress(QUrl());
        const auto restore = qScopeGuard([] { CodeHost::setAddress(CodeHost::official()); });
        Stage stage;
        stage.openAbout();
        QVERIFY(!stage.shows<LinkButton>());
        QCOMPARE(stage.texts().size(), 6);
    }
};

QTEST_MAIN(FailsCleanly<AboutViewTest>)
#include "AboutViewTest.moc"
