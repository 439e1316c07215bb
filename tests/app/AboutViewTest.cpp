#include "CodeHost.h"
#include "LinkButton.h"
#include "Samples.h"
#include "Stage.h"

class AboutViewTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutFactsTheAboutSentenceHasItsFixedParts();
    void withFactsTheAboutSentenceNamesAuthorAndLicence();
    void theAboutTextsStandInTheirOrder();
    void theLinkOpensThePageInTheDesktopsBrowser();
    void anAddressThatDoesNotParseIsLeftOut();
};

void AboutViewTest::withoutFactsTheAboutSentenceHasItsFixedParts()
{
    Stage stage;
    QVERIFY(Stage::texts(*stage.openAbout())
                .contains(QStringLiteral("Game by its author. Licence: see the repository")));
}

void AboutViewTest::withFactsTheAboutSentenceNamesAuthorAndLicence()
{
    Stage stage;
    const auto *sheet = stage.openAbout();
    stage.model.info = Samples::game();
    Stage::settle();
    QVERIFY(Stage::texts(*sheet).contains(QStringLiteral("Game by Ada Hill. Licence: MIT License")));
}

void AboutViewTest::theAboutTextsStandInTheirOrder()
{
    Stage stage;
    const auto *sheet = stage.openAbout();
    const QStringList all = Stage::texts(*sheet);
    QCOMPARE(all.size(), 6);
    QCOMPARE(all.at(0), QStringLiteral("About"));
    QCOMPARE(all.at(2),
             QStringLiteral("The game belongs to its author; this app only downloads and starts it."));
    QCOMPARE(all.at(3), QStringLiteral("Based on Kestrelwood/Vantor, MIT License."));
    QVERIFY(all.at(4).contains(QStringLiteral("Godot")));
    QVERIFY(all.at(4).contains(QStringLiteral("MIT")));
    QVERIFY(all.at(4).contains(QStringLiteral("contributors")));
    QVERIFY(all.at(5).contains(CodeHost::address().host()));
    QVERIFY(Stage::button(*sheet, QStringLiteral("Done")));
}

void AboutViewTest::theLinkOpensThePageInTheDesktopsBrowser()
{
    Stage stage;
    auto *sheet = stage.openAbout();
    const QList<QUrl> &browsed = stage.player.workspace.browsed;
    const QUrl page = CodeHost::url(QStringLiteral("/Kestrelwood/Vantor"));
    Stage::click(*sheet, page.toString());
    QCOMPARE(browsed, QList<QUrl> { page });
    auto *link = sheet->findChild<LinkButton *>();
    link->setFocus();
    QTest::keyClick(link, Qt::Key_Space);
    QCOMPARE(browsed.size(), 2);
    QVERIFY(stage.visible<AboutView>());
}

void AboutViewTest::anAddressThatDoesNotParseIsLeftOut()
{
    CodeHost::setAddress(QUrl());
    Stage stage;
    const auto *sheet = stage.openAbout();
    CodeHost::setAddress(CodeHost::official());
    QVERIFY(!sheet->findChild<LinkButton *>());
    QCOMPARE(Stage::texts(*sheet).size(), 6);
}

QTEST_MAIN(AboutViewTest)
#include "AboutViewTest.moc"
