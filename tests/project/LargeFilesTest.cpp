#include "Controls.h"
#include "Licence.h"
#include "LogStore.h"
#include "ProjectFile.h"
#include "ProjectInspector.h"
#include "Readme.h"
#include "TestHome.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

/// Files far beyond what people write. The limits are loose: they are there for work that grows with the
/// square of the size, which would take hours.
class LargeFilesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLargeProjectFileIsReadQuickly_data();
    void aLargeProjectFileIsReadQuickly();
    void randomBytesGiveTheDefaults();
    void aReadmeOnOneLineIsReadQuickly_data();
    void aReadmeOnOneLineIsReadQuickly();
    void aLargeLicenceIsReadQuickly();
    void manyLargeScriptsAreReadQuickly();
    void aLargeProjectFileIsEditedQuickly();

private:
    static constexpr qsizetype megabyte = 1000 * 1000;
    static constexpr qint64 limit = 40000;

    static QByteArray repeated(const QByteArray &piece, qsizetype size)
    {
        return piece.repeated(size / piece.size());
    }

    void report(const char *what) { qInfo("%s: %lld ms", what, static_cast<long long>(m_timer.elapsed())); }

    QElapsedTimer m_timer;
};

void LargeFilesTest::aLargeProjectFileIsReadQuickly_data()
{
    QTest::addColumn<QByteArray>("piece");
    QTest::newRow("ordinary lines") << QByteArray("config/description=\"some text of a game\"\n");
    QTest::newRow("line breaks only") << QByteArray("\n");
    QTest::newRow("one line") << QByteArray("x");
    QTest::newRow("blanks") << QByteArray(" ");
    QTest::newRow("feature lines") << QByteArray("config/features=PackedStringArray(\"4.2\", \"C#\")\n");
    QTest::newRow("names") << QByteArray("config/name=\"a\" \"b\" \"c\"\n");
    QTest::newRow("digits") << QByteArray("1");
}

void LargeFilesTest::aLargeProjectFileIsReadQuickly()
{
    QFETCH(QByteArray, piece);
    const TestHome home;
    home.write(QStringLiteral("project.godot"),
               "config_version=5\nconfig_version=" + repeated(piece, 10 * megabyte)
                   + "\nrun/main_scene=\"res://last.tscn\"\n");
    m_timer.start();
    const ProjectInfo info = ProjectInspector::inspect(home.path());
    report("A project file of 10 MB");
    QCOMPARE(info.configVersion, 5);
    QCOMPARE(info.mainScene, QStringLiteral("res://last.tscn"));
    QVERIFY(m_timer.elapsed() < limit);
}

void LargeFilesTest::randomBytesGiveTheDefaults()
{
    const TestHome home;
    QByteArray bytes(5 * megabyte, Qt::Uninitialized);
    QRandomGenerator generator(1);
    for (char &byte : bytes)
        byte = static_cast<char>(generator.bounded(256));
    for (const char *name : { "project.godot", "README", "LICENSE", "a.gd" })
        home.write(QString::fromLatin1(name), bytes);
    const ProjectInfo info = ProjectInspector::inspect(home.path());
    QCOMPARE(info.name, QStringLiteral("Vantor"));
    QCOMPARE(info.configVersion, 0);
    QCOMPARE(info.blurb, QStringLiteral("Vantor"));
    QCOMPARE(info.licenseName, QStringLiteral("See LICENSE file"));
    QCOMPARE(info.controls.size(), 2);
}

void LargeFilesTest::aReadmeOnOneLineIsReadQuickly_data()
{
    QTest::addColumn<QByteArray>("readme");
    QTest::newRow("a sentence") << repeated("word ", 2 * megabyte);
    QTest::newRow("one word") << repeated("x", 2 * megabyte);
    QTest::newRow("signs between letters") << repeated("`a", 2 * megabyte);
    QTest::newRow("bold letters") << repeated("**a__b", 2 * megabyte);
    QTest::newRow("a heading of signs") << repeated("#", 2 * megabyte);
    QTest::newRow("a control") << "# Controls\n-" + repeated("`a#", 2 * megabyte);
    QTest::newRow("bullets without a word") << "# Controls\n" + repeated("- **\n", 2 * megabyte);
    QTest::newRow("short lines") << repeated("a b\n", 2 * megabyte);
}

void LargeFilesTest::aReadmeOnOneLineIsReadQuickly()
{
    QFETCH(QByteArray, readme);
    const QString text = QString::fromUtf8(readme);
    const TestHome home;
    m_timer.start();
    QVERIFY(!blurb(text, QStringLiteral("Name")).isNull());
    QVERIFY(!controlsList(text, home.path()).controls.isEmpty());
    report("A README of 2 MB");
    QVERIFY(m_timer.elapsed() < limit);
}

void LargeFilesTest::aLargeLicenceIsReadQuickly()
{
    const QString signs = QString::fromUtf8(repeated("(c)\xc2\xa9 2020, ", 2 * megabyte));
    m_timer.start();
    QCOMPARE(LicenseInfo::parse(QStringLiteral("MIT\nCopyright ") + signs + QStringLiteral("Jane")).author,
             QStringLiteral("Jane"));
    report("A licence of 2 MB");
    QVERIFY(m_timer.elapsed() < limit);
}

void LargeFilesTest::manyLargeScriptsAreReadQuickly()
{
    const TestHome home;
    const QByteArray script = repeated("\tif Input.is_action_pressed(\"ui_down\"):\n", megabyte / 2);
    for (int number = 0; number < 220; ++number)
        home.write(QStringLiteral("%1.gd").arg(number), script);
    m_timer.start();
    QCOMPARE(controlsList(QString(), home.path()).controls.size(), 2);
    report("201 scripts of half a megabyte");
    QVERIFY(m_timer.elapsed() < limit);
}

void LargeFilesTest::aLargeProjectFileIsEditedQuickly()
{
    const TestHome home;
    LogStore log;
    home.write(QStringLiteral("project.godot"), repeated("some=\"line\"\n", 10 * megabyte));
    m_timer.start();
    ProjectInspector::enableMouseAsTouch(home.path(), log);
    report("The edit of a project file of 10 MB");
    QCOMPARE(log.lines->size(), 1);
    QVERIFY(m_timer.elapsed() < limit);
}

QTEST_GUILESS_MAIN(LargeFilesTest)
#include "LargeFilesTest.moc"
