#include "GameArguments.h"

#include <QTest>

using namespace Qt::StringLiterals;

class GameArgumentsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theProjectIsFollowedByWhatTheSettingsAskFor_data()
    {
        QTest::addColumn<bool>("fullscreen");
        QTest::addColumn<QString>("resolution");
        QTest::addColumn<QStringList>("arguments");
        const QStringList fullscreen { u"--fullscreen"_s };
        const QStringList windowed { u"--windowed"_s };
        QTest::newRow("full screen leaves the size out") << true << u"1280x720"_s << fullscreen;
        QTest::newRow("full screen at the default size") << true << u"default"_s << fullscreen;
        QTest::newRow("the default size is not passed") << false << u"default"_s << windowed;
        for (const QString &size : { u"1600x900"_s, u"12x"_s, u"Default"_s, QString() })
            QTest::addRow("the size \"%s\" is passed as it is stored", qPrintable(size))
                << false << size << windowed + QStringList { u"--resolution"_s, size };
    }

    void theProjectIsFollowedByWhatTheSettingsAskFor()
    {
        QFETCH(bool, fullscreen);
        QFETCH(QString, resolution);
        QFETCH(QStringList, arguments);
        QCOMPARE(gameArguments(u"/games/my game"_s, fullscreen, resolution),
                 QStringList({ u"--path"_s, u"/games/my game"_s }) + arguments);
    }
};

QTEST_GUILESS_MAIN(GameArgumentsTest)
#include "GameArgumentsTest.moc"
