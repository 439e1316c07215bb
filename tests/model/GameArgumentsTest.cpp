#include "GameArguments.h"

#include <QTest>

class GameArgumentsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fullscreenPassesOnlyFullscreenWhateverTheResolution()
    {
        const QStringList expected { QStringLiteral("--path"), QStringLiteral("/games/my game"),
                                     QStringLiteral("--fullscreen") };
        QCOMPARE(gameArguments(QStringLiteral("/games/my game"), true, QStringLiteral("1280x720")), expected);
        QCOMPARE(gameArguments(QStringLiteral("/games/my game"), true, QStringLiteral("default")), expected);
    }

    void theDefaultResolutionIsNotPassed()
    {
        const QStringList expected { QStringLiteral("--path"), QStringLiteral("/game"),
                                     QStringLiteral("--windowed") };
        QCOMPARE(gameArguments(QStringLiteral("/game"), false, QStringLiteral("default")), expected);
    }

    void aResolutionFollowsWindowedAsItIsStored_data()
    {
        QTest::addColumn<QString>("resolution");
        QTest::newRow("offered") << QStringLiteral("1600x900");
        QTest::newRow("nobody offers it") << QStringLiteral("12x");
        QTest::newRow("another letter case than default") << QStringLiteral("Default");
        QTest::newRow("empty") << QString();
    }

    void aResolutionFollowsWindowedAsItIsStored()
    {
        QFETCH(QString, resolution);
        const QStringList expected { QStringLiteral("--path"), QStringLiteral("/game"),
                                     QStringLiteral("--windowed"), QStringLiteral("--resolution"),
                                     resolution };
        QCOMPARE(gameArguments(QStringLiteral("/game"), false, resolution), expected);
    }
};

QTEST_GUILESS_MAIN(GameArgumentsTest)
#include "GameArgumentsTest.moc"
