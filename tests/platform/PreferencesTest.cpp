#include "Preferences.h"

#include "TestHome.h"

class PreferencesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<TestHome>(); }
    void cleanup() { m_home.reset(); }

    void missingSettingsHaveTheirDefaults()
    {
        const Preferences preferences(file());
        QCOMPARE(preferences.fullscreen(), false);
        QCOMPARE(preferences.resolution(), QStringLiteral("default"));
    }

    void whatWasSetIsReadBackAtOnceAndByTheNextStart()
    {
        {
            Preferences preferences(file());
            preferences.setFullscreen(true);
            preferences.setResolution(QStringLiteral("1280x720"));
            QCOMPARE(preferences.fullscreen(), true);
            QCOMPARE(preferences.resolution(), QStringLiteral("1280x720"));
        }
        Preferences next(file());
        QCOMPARE(next.fullscreen(), true);
        QCOMPARE(next.resolution(), QStringLiteral("1280x720"));
        next.setFullscreen(false);
        QCOMPARE(next.fullscreen(), false);
    }

    void whatWasSetIsOnDiskAtOnce()
    {
        Preferences preferences(file());
        preferences.setFullscreen(true);
        preferences.setResolution(QStringLiteral("1920x1080"));
        QFile stored(file());
        QVERIFY(stored.open(QIODevice::ReadOnly));
        const QByteArray content = stored.readAll();
        QVERIFY(content.contains("fullscreen=true"));
        QVERIFY(content.contains("resolution=1920x1080"));
    }

    void thePlayersStoreIsInTheConfigurationFolder()
    {
#ifdef Q_OS_MACOS
        QSKIP("User defaults are not in a folder that a test can choose.");
#endif
        Preferences preferences;
        preferences.setFullscreen(true);
        QVERIFY(QFile::exists(
            m_home->filePath(QStringLiteral("config/vantor-platformer/vantor-platformer.conf"))));
    }

    void aStoredFullscreenSettingIsTrueOnlyWhenItSaysSo_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<bool>("fullscreen");
        QTest::newRow("true") << QByteArray("true") << true;
        QTest::newRow("1") << QByteArray("1") << true;
        QTest::newRow("false") << QByteArray("false") << false;
        QTest::newRow("0") << QByteArray("0") << false;
        QTest::newRow("empty") << QByteArray("") << false;
        QTest::newRow("garbage") << QByteArray("\\x1\\xff garbage") << false;
        QTest::newRow("list") << QByteArray("true, true") << false;
        QTest::newRow("invalid value") << QByteArray("@Invalid()") << false;
        QTest::newRow("broken variant") << QByteArray("@Variant(\\0\\0\\0\\x7f)") << false;
    }

    void aStoredFullscreenSettingIsTrueOnlyWhenItSaysSo()
    {
        QFETCH(QByteArray, stored);
        m_home->write(QStringLiteral("settings.ini"), "[General]\nfullscreen=" + stored + "\n");
        QTEST(Preferences(file()).fullscreen(), "fullscreen");
    }

    void aStoredResolutionIsGivenAsItStands_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QString>("resolution");
        QTest::newRow("a size") << QByteArray("1280x720") << QStringLiteral("1280x720");
        QTest::newRow("default") << QByteArray("default") << QStringLiteral("default");
        QTest::newRow("another text") << QByteArray("big please") << QStringLiteral("big please");
        QTest::newRow("a number") << QByteArray("1280") << QStringLiteral("1280");
        QTest::newRow("an empty text") << QByteArray("") << QString();
        QTest::newRow("a list, which is no text")
            << QByteArray("1280x720, 1920x1080") << QStringLiteral("default");
        QTest::newRow("an invalid value") << QByteArray("@Invalid()") << QStringLiteral("default");
    }

    void aStoredResolutionIsGivenAsItStands()
    {
        QFETCH(QByteArray, stored);
        m_home->write(QStringLiteral("settings.ini"), "[General]\nresolution=" + stored + "\n");
        QTEST(Preferences(file()).resolution(), "resolution");
    }

    void aStoreThatCannotBeReadGivesTheDefaults()
    {
        QDir().mkpath(file());
        const Preferences preferences(file());
        QCOMPARE(preferences.fullscreen(), false);
        QCOMPARE(preferences.resolution(), QStringLiteral("default"));
    }

    void aStoreFullOfGarbageGivesTheDefaults()
    {
        m_home->write(QStringLiteral("settings.ini"), QByteArray("\xff[[[==\n\x01\x02]]\nfullscreen"));
        const Preferences preferences(file());
        QCOMPARE(preferences.fullscreen(), false);
        QCOMPARE(preferences.resolution(), QStringLiteral("default"));
    }

private:
    QString file() const { return m_home->filePath(QStringLiteral("settings.ini")); }

    std::unique_ptr<TestHome> m_home;
};

QTEST_GUILESS_MAIN(PreferencesTest)
#include "PreferencesTest.moc"
