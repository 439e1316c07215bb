#include "SaveFolder.h"

#include <QDir>
#include <QTest>

class SaveFolderTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theGamesOwnFolderComesFirst()
    {
        QCOMPARE(saveFolderCandidates(QStringLiteral("/data/Godot"), QStringLiteral("My Game")),
                 QStringList({ QStringLiteral("/data/Godot/app_userdata/My Game"),
                               QStringLiteral("/data/Godot/app_userdata"), QStringLiteral("/data/Godot") }));
    }

    void aNameIsWrittenAsTheEngineWritesItsFolder()
    {
        QCOMPARE(saveFolderCandidates(QStringLiteral("/d"), QStringLiteral("Who? Me: a/b")).first(),
                 QStringLiteral("/d/app_userdata/Who- Me- a-b"));
    }

    void blanksAtTheEndsAreNoPartOfTheFoldersName()
    {
        QCOMPARE(saveFolderCandidates(QStringLiteral("/d"), QStringLiteral(" \t My Game \n")).first(),
                 QStringLiteral("/d/app_userdata/My Game"));
    }

    void dotsWithinANameArePartOfIt()
    {
        for (const QString &name : { QStringLiteral("..."), QStringLiteral("..a"), QStringLiteral("a.."),
                                     QStringLiteral("a..b"), QStringLiteral(".hidden") })
            QCOMPARE(saveFolderCandidates(QStringLiteral("/d"), name).first(),
                     QStringLiteral("/d/app_userdata/") + name);
    }

    void aNameThatIsNoFoldersNameHasNoFolderOfItsOwn_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << QString();
        QTest::newRow("blanks") << QStringLiteral(" \t ");
        QTest::newRow("the folder itself") << QStringLiteral(".");
        QTest::newRow("its parent") << QStringLiteral("..");
        QTest::newRow("its parent in blanks") << QStringLiteral(" .. ");
        QTest::newRow("a NUL") << QString(QChar(u'\0'));
        QTest::newRow("its parent, cut off by a NUL") << QStringLiteral("..") + QChar(u'\0') + u'x';
        QTest::newRow("a NUL within") << u'a' + QString(QChar(u'\0')) + u'b';
    }

    void aNameThatIsNoFoldersNameHasNoFolderOfItsOwn()
    {
        QFETCH(QString, name);
        QCOMPARE(saveFolderCandidates(QStringLiteral("/d"), name),
                 QStringList({ QStringLiteral("/d/app_userdata"), QStringLiteral("/d") }));
    }

    void noNameLeadsOutOfTheDataFolder_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("folder");
        QTest::newRow("up") << QStringLiteral("../x") << QStringLiteral("..-x");
        QTest::newRow("far up") << QStringLiteral("../../..") << QStringLiteral("..-..-..");
        QTest::newRow("absolute") << QStringLiteral("/etc") << QStringLiteral("-etc");
        QTest::newRow("only a slash") << QStringLiteral("/") << QStringLiteral("-");
        QTest::newRow("the parent and a slash") << QStringLiteral("../") << QStringLiteral("..-");
        QTest::newRow("backslashes") << QStringLiteral("..\\..\\x") << QStringLiteral("..-..-x");
        QTest::newRow("in and out") << QStringLiteral("a/../../../b") << QStringLiteral("a-..-..-..-b");
        QTest::newRow("a drive") << QStringLiteral("C:\\x") << QStringLiteral("C--x");
        QTest::newRow("another writing of the slash")
            << QStringLiteral("..\uff0f..\u2215x") << QStringLiteral("..\uff0f..\u2215x");
        QTest::newRow("half a character")
            << QStringLiteral("..") + QChar(0xd800) << QStringLiteral("..") + QChar(0xd800);
        QTest::newRow("very long") << QString(100'000, u'/') << QString(100'000, u'-');
    }

    void noNameLeadsOutOfTheDataFolder()
    {
        QFETCH(QString, name);
        QFETCH(QString, folder);
        const QStringList candidates = saveFolderCandidates(QStringLiteral("/data/Godot"), name);
        QCOMPARE(candidates.size(), 3);
        QCOMPARE(candidates.first(), QStringLiteral("/data/Godot/app_userdata/") + folder);
        QCOMPARE(QDir::cleanPath(candidates.first()), candidates.first());
        QVERIFY(!folder.contains(u'/'));
    }
};

QTEST_GUILESS_MAIN(SaveFolderTest)
#include "SaveFolderTest.moc"
