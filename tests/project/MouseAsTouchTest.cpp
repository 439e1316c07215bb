#include "MouseAsTouch.h"

#include "FileError.h"
#include "ProjectInspector.h"
#include "TestHome.h"

#include <QTest>

#include <cerrno>

#include <sys/stat.h>

class MouseAsTouchTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theKeyIsInsertedRightAfterTheSectionHeader();
    void theEditIsExact_data();
    void theEditIsExact();
    void aTextThatNamesTheSettingIsLeftAlone_data();
    void aTextThatNamesTheSettingIsLeftAlone();

    void theFileIsEditedAndTheLogSaysSo();
    void aSecondCallChangesAndLogsNothing();
    void aFileThatDecidesTheSettingIsLeftAloneWithoutAWord();
    void anUnreadableFileIsLeftAloneWithoutAWord();
    void aByteOrderMarkStays();
    void allOtherBytesStay();
    void aReadOnlyFileGivesTheReason();
    void aLinkIsReplacedAndItsTargetIsNotTouched();
    void thePermissionsStay();
    void nothingIsLeftBesideTheFile();

private:
    static QByteArray contentOf(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
    }
};

namespace {

const QString enabled = QStringLiteral(
    "Enabled mouse clicks as touch in the downloaded copy so the game's buttons work on a Mac.");

}

void MouseAsTouchTest::theKeyIsInsertedRightAfterTheSectionHeader()
{
    QCOMPARE(withMouseAsTouch(QByteArray("[input_devices]\npointing/other=true\n")),
             QByteArray("[input_devices]\n\npointing/emulate_touch_from_mouse=true\npointing/other=true\n"));
}

void MouseAsTouchTest::theEditIsExact_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    const auto row = [](const char *name, const char *before, const char *after) {
        QTest::newRow(name) << QByteArray(before) << QByteArray(after);
    };
    row("no section, no final line break", "config_version=4",
        "config_version=4\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
    row("no section, a final line break", "config_version=4\n",
        "config_version=4\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
    row("no section, several final line breaks", "a\n\n",
        "a\n\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
    row("an empty text", "", "\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
    row("line breaks of another system", "a\r\n",
        "a\r\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
    row("a carriage return alone is no line break", "a\r",
        "a\r\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
    row("the section at the very end", "a\n[input_devices]",
        "a\n[input_devices]\n\npointing/emulate_touch_from_mouse=true");
    row("the section with line breaks of another system", "[input_devices]\r\n\r\nx=1\r\n",
        "[input_devices]\n\npointing/emulate_touch_from_mouse=true\r\n\r\nx=1\r\n");
    row("the first of two sections", "[input_devices]\nb\n[input_devices]\n",
        "[input_devices]\n\npointing/emulate_touch_from_mouse=true\nb\n[input_devices]\n");
    row("a mention in a comment", "; see [input_devices] below\n",
        "; see [input_devices]\n\npointing/emulate_touch_from_mouse=true below\n");
    row("another letter case is another section", "[Input_Devices]\n",
        "[Input_Devices]\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
    row("a similar section", "[input_devices_2]\n",
        "[input_devices_2]\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
    row("the name of the setting in another letter case", "Emulate_Touch_From_Mouse\n",
        "Emulate_Touch_From_Mouse\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
}

void MouseAsTouchTest::theEditIsExact()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QCOMPARE(withMouseAsTouch(before), after);
    QCOMPARE(withMouseAsTouch(after), std::nullopt);
}

void MouseAsTouchTest::aTextThatNamesTheSettingIsLeftAlone_data()
{
    QTest::addColumn<QByteArray>("text");
    for (const char *text :
         { "pointing/emulate_touch_from_mouse=true", "pointing/emulate_touch_from_mouse=false",
           "; no emulate_touch_from_mouse here", "xemulate_touch_from_mousex",
           "[input_devices]\npointing/emulate_touch_from_mouse=false\n" })
        QTest::newRow(text) << QByteArray(text);
}

void MouseAsTouchTest::aTextThatNamesTheSettingIsLeftAlone()
{
    QFETCH(QByteArray, text);
    QCOMPARE(withMouseAsTouch(text), std::nullopt);
}

void MouseAsTouchTest::theFileIsEditedAndTheLogSaysSo()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("project.godot"), "config_version=4");
    QCOMPARE(ProjectInspector::enableMouseAsTouch(home.path()), enabled);
    QCOMPARE(contentOf(file),
             QByteArray("config_version=4\n\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n"));
}

void MouseAsTouchTest::aSecondCallChangesAndLogsNothing()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("project.godot"), "[input_devices]\n");
    ProjectInspector::enableMouseAsTouch(home.path());
    const QByteArray once = contentOf(file);
    QCOMPARE(ProjectInspector::enableMouseAsTouch(home.path()), std::nullopt);
    QCOMPARE(contentOf(file), once);
}

void MouseAsTouchTest::aFileThatDecidesTheSettingIsLeftAloneWithoutAWord()
{
    const TestHome home;
    const QByteArray text = "[input_devices]\npointing/emulate_touch_from_mouse=false\n";
    const QString file = home.write(QStringLiteral("project.godot"), text);
    QCOMPARE(ProjectInspector::enableMouseAsTouch(home.path()), std::nullopt);
    QCOMPARE(contentOf(file), text);
}

void MouseAsTouchTest::anUnreadableFileIsLeftAloneWithoutAWord()
{
    {
        const TestHome missing;
        QCOMPARE(ProjectInspector::enableMouseAsTouch(missing.path()), std::nullopt);
        QVERIFY(!QFile::exists(missing.filePath(QStringLiteral("project.godot"))));
    }
    {
        const TestHome notUtf8;
        const QByteArray text = "config/name=\"\xff\"\n";
        const QString file = notUtf8.write(QStringLiteral("project.godot"), text);
        QCOMPARE(ProjectInspector::enableMouseAsTouch(notUtf8.path()), std::nullopt);
        QCOMPARE(contentOf(file), text);
    }
    {
        const TestHome pipe;
        const QString path = pipe.filePath(QStringLiteral("project.godot"));
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        QCOMPARE(ProjectInspector::enableMouseAsTouch(pipe.path()), std::nullopt);
    }
    {
        const TestHome folder;
        folder.write(QStringLiteral("project.godot/x"), "");
        QCOMPARE(ProjectInspector::enableMouseAsTouch(folder.path()), std::nullopt);
    }
}

void MouseAsTouchTest::aByteOrderMarkStays()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("project.godot"), "\xef\xbb\xbf[input_devices]\n");
    ProjectInspector::enableMouseAsTouch(home.path());
    QCOMPARE(contentOf(file),
             QByteArray("\xef\xbb\xbf[input_devices]\n\npointing/emulate_touch_from_mouse=true\n"));
}

void MouseAsTouchTest::allOtherBytesStay()
{
    const TestHome home;
    const QByteArray before
        = QByteArrayLiteral("a\0b\r\r\n\t\xc3\xbc\xf0\x9f\x8e\xae\xe2\x80\xa8\xef\xbf\xbd\xef\xbb\xbf");
    const QByteArray after = "\r\n\x01\x7f";
    const QString file = home.write(QStringLiteral("project.godot"), before + "[input_devices]" + after);
    ProjectInspector::enableMouseAsTouch(home.path());
    QCOMPARE(contentOf(file), before + "[input_devices]\n\npointing/emulate_touch_from_mouse=true" + after);
}

void MouseAsTouchTest::aReadOnlyFileGivesTheReason()
{
    const TestHome home;
    const QByteArray text = "config_version=4\n";
    const QString file = home.write(QStringLiteral("project.godot"), text);
    QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
    const FileError expected(file, QStringLiteral("written"), EACCES);
    QCOMPARE(ProjectInspector::enableMouseAsTouch(home.path()),
             QStringLiteral("Could not enable mouse-as-touch: ") + expected.errorDescription());
    QCOMPARE(contentOf(file), text);
}

void MouseAsTouchTest::aLinkIsReplacedAndItsTargetIsNotTouched()
{
    const TestHome home;
    const QString outside = home.write(QStringLiteral("outside"), "config_version=4\n");
    QVERIFY(QDir().mkpath(home.filePath(QStringLiteral("game"))));
    const QString file = home.filePath(QStringLiteral("game/project.godot"));
    QVERIFY(QFile::link(outside, file));
    QCOMPARE(ProjectInspector::enableMouseAsTouch(home.filePath(QStringLiteral("game"))), enabled);
    QCOMPARE(contentOf(outside), QByteArray("config_version=4\n"));
    QVERIFY(contentOf(file).contains("emulate_touch_from_mouse=true"));
}

void MouseAsTouchTest::thePermissionsStay()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("project.godot"), "a");
    QCOMPARE(::chmod(QFile::encodeName(file).constData(), 0640), 0);
    ProjectInspector::enableMouseAsTouch(home.path());
    struct stat status = {};
    QCOMPARE(::stat(QFile::encodeName(file).constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0640U);
}

void MouseAsTouchTest::nothingIsLeftBesideTheFile()
{
    const TestHome home;
    home.write(QStringLiteral("project.godot"), "a");
    ProjectInspector::enableMouseAsTouch(home.path());
    const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    QCOMPARE(QDir(home.path()).entryList(all), QStringList { QStringLiteral("project.godot") });
}

QTEST_GUILESS_MAIN(MouseAsTouchTest)
#include "MouseAsTouchTest.moc"
