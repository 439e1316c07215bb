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

    void noNameLeadsOutOfTheDataFolder_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << QString();
        QTest::newRow("itself") << QStringLiteral(".");
        QTest::newRow("parent") << QStringLiteral("..");
        QTest::newRow("far up") << QStringLiteral("../../..");
        QTest::newRow("absolute") << QStringLiteral("/etc");
        QTest::newRow("backslashes") << QStringLiteral("..\\..\\x");
        QTest::newRow("inside") << QStringLiteral("a/../../../b");
    }

    void noNameLeadsOutOfTheDataFolder()
    {
        QFETCH(QString, name);
        for (const QString &folder : saveFolderCandidates(QStringLiteral("/data/Godot"), name)) {
            const QString clean = QDir::cleanPath(folder);
            QVERIFY2(clean == QLatin1StringView("/data/Godot")
                         || clean.startsWith(QLatin1StringView("/data/Godot/")),
                     qPrintable(folder));
        }
    }
};

QTEST_GUILESS_MAIN(SaveFolderTest)
#include "SaveFolderTest.moc"
