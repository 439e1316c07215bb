#include "Preferences.h"

#include "FreshForEach.h"
#include "Table.h"
#include "TestHome.h"

using namespace Qt::StringLiterals;

class PreferencesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatWasSetIsOnDiskAndReadBackAtOnceAndByTheNextStart()
    {
        Preferences preferences(m_file);
        preferences.setFullscreen(true);
        preferences.setResolution(u"1280x720"_s);
        const QByteArray content = m_home.read(m_file);
        QVERIFY(content.contains("fullscreen=true"));
        QVERIFY(content.contains("resolution=1280x720"));
        Preferences next(m_file);
        for (const Preferences *reader : { &preferences, &next }) {
            QCOMPARE(reader->fullscreen(), true);
            QCOMPARE(reader->resolution(), u"1280x720"_s);
        }
        preferences.setFullscreen(false);
        QCOMPARE(preferences.fullscreen(), false);
    }

    void thePlayersStoreIsInTheConfigurationFolder()
    {
#ifdef Q_OS_MACOS
        QSKIP("User defaults are not in a folder that a test can choose.");
#endif
        Preferences preferences;
        preferences.setFullscreen(true);
        QVERIFY(QFile::exists(m_home.filePath(u"config/vantor-platformer/vantor-platformer.conf"_s)));
    }

    void whatIsStoredIsRead_data()
    {
        const auto row = table<QByteArray, bool, QString>("stored", "fullscreen", "resolution");
        const QString missing = u"default"_s;
        row("no store", {}, false, missing);
        row("a store full of garbage", "\xff[[[==\n\x01\x02]]\nfullscreen", false, missing);

        const auto fullscreen = [row, missing](const char *name, const QByteArray &value, bool isOn) {
            row(name, "[General]\nfullscreen=" + value + "\n", isOn, missing);
        };
        fullscreen("fullscreen: true", "true", true);
        fullscreen("fullscreen: 1", "1", true);
        fullscreen("fullscreen: false", "false", false);
        fullscreen("fullscreen: 0", "0", false);
        fullscreen("fullscreen: empty", "", false);
        fullscreen("fullscreen: garbage", "\\x1\\xff garbage", false);
        fullscreen("fullscreen: a list", "true, true", false);
        fullscreen("fullscreen: an invalid value", "@Invalid()", false);
        fullscreen("fullscreen: a broken variant", "@Variant(\\0\\0\\0\\x7f)", false);

        const auto resolution = [row](const char *name, const QByteArray &value, const QString &expected) {
            row(name, "[General]\nresolution=" + value + "\n", false, expected);
        };
        resolution("resolution: a size", "1280x720", u"1280x720"_s);
        resolution("resolution: default", "default", u"default"_s);
        resolution("resolution: another text", "big please", u"big please"_s);
        resolution("resolution: a number", "1280", u"1280"_s);
        resolution("resolution: an empty text", "", QString());
        resolution("resolution: a list, which is no text", "1280x720, 1920x1080", missing);
        resolution("resolution: an invalid value", "@Invalid()", missing);
    }

    void whatIsStoredIsRead()
    {
        QFETCH(QByteArray, stored);
        if (!stored.isNull())
            m_home.write(m_file, stored);
        const Preferences preferences(m_file);
        QTEST(preferences.fullscreen(), "fullscreen");
        QTEST(preferences.resolution(), "resolution");
    }

    void aStoreThatCannotBeReadCountsAsMissing()
    {
        QDir().mkpath(m_file);
        const Preferences preferences(m_file);
        QCOMPARE(preferences.fullscreen(), false);
        QCOMPARE(preferences.resolution(), u"default"_s);
    }

private:
    const TestHome m_home;
    const QString m_file = m_home.filePath(u"settings.ini"_s);
};

QTEST_GUILESS_MAIN(FreshForEach<PreferencesTest>)
#include "PreferencesTest.moc"
