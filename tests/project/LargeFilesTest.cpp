#include "Controls.h"
#include "ProjectInspector.h"
#include "Readme.h"
#include "TestHome.h"
#include "TextLines.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <sys/resource.h>

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif
#else
constexpr bool isSanitized = false;
#endif

#if defined(__OPTIMIZE__)
constexpr qint64 slowness = 1;
#elif defined(COUNTS_COVERAGE)
constexpr qint64 slowness = 16;
#else
constexpr qint64 slowness = 8;
#endif

constexpr qsizetype megabyte = 1000 * 1000;
/// Sanitizers multiply memory and time: with them, the same code runs on small files and no limit is checked.
constexpr qsizetype fileSize = (isSanitized ? 1 : 50) * megabyte;
/// The limits for 50 MB: additional peak memory in bytes, and processor time in milliseconds.
constexpr qint64 memoryLimit = 64 * megabyte;
constexpr qint64 timeLimit = 1000 * slowness;

/// The size of each of the many strange files: a fifth, to save time, unless FULL_SIZE is set.
qsizetype strangeFileSize()
{
    return isSanitized || qEnvironmentVariableIsSet("FULL_SIZE") ? fileSize : fileSize / 5;
}

qint64 peakMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).replace("kB", "").trimmed().toLongLong() * 1024;
    }
    return 0;
}

qint64 processorMilliseconds()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto milliseconds
        = [](const timeval &time) { return qint64(time.tv_sec) * 1000 + qint64(time.tv_usec) / 1000; };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

/// Reads or edits the project in `root` in this process, and prints what that took: bytes and milliseconds.
void measure(const QString &what, const QString &root)
{
    const qint64 memory = peakMemory();
    const qint64 time = processorMilliseconds();
    if (what == QLatin1StringView("--read"))
        ProjectInspector::inspect(root);
    else
        ProjectInspector::enableMouseAsTouch(root);
    std::printf("%lld %lld\n", static_cast<long long>(peakMemory() - memory),
                static_cast<long long>(processorMilliseconds() - time));
}

QByteArray repeated(const QByteArray &piece, qsizetype size) { return piece.repeated(size / piece.size()); }

}

/// Files far larger than people write. Processor time is measured, so a busy machine does not matter.
class LargeFilesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anyFileIsReadInLittleTimeAndMemory_data();
    void anyFileIsReadInLittleTimeAndMemory();
    void severalFilesTakeNoMoreMemoryThanOne();
    void theEditTakesLittleTimeAndMemory_data();
    void theEditTakesLittleTimeAndMemory();
    void whatIsLargerThanAnyTextCountsAsUnreadable();
    void randomBytesGiveTheDefaults();
    void theSettingsOfALargeProjectFileAreFound();
    void valuesOnEndlessLinesAreCut();
    void manyLargeScriptsAreReadQuickly();

private:
    /// Runs `measure` in a process of its own.
    static void takesLittle(const QString &what, const TestHome &home, qint64 milliseconds = timeLimit,
                            qint64 memory = memoryLimit)
    {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), { what, home.path() });
        QVERIFY(process.waitForFinished(300'000));
        QCOMPARE(process.exitCode(), 0);
        const QList<QByteArray> numbers = process.readAllStandardOutput().trimmed().split(' ');
        QCOMPARE(numbers.size(), 2);
        qInfo("%.1f MB more memory, %s ms", numbers[0].toDouble() / megabyte, numbers[1].constData());
        if (isSanitized)
            return;
        QVERIFY(numbers[0].toLongLong() < memory);
        QVERIFY(numbers[1].toLongLong() < milliseconds);
    }
};

void LargeFilesTest::anyFileIsReadInLittleTimeAndMemory_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<QByteArray>("piece");
    const auto row
        = [](const char *name, const char *what, const QByteArray &piece, const QByteArray &start = {}) {
              QTest::addRow("%s: %s", name, what) << QString::fromLatin1(name) << start << piece;
          };
    row("project.godot", "ordinary lines", "config/description=\"some text of a game\"\n");
    row("project.godot", "line breaks only", "\n");
    row("project.godot", "one line", "x");
    row("project.godot", "blanks", " ");
    row("project.godot", "short lines", "c\n");
    row("project.godot", "feature lines", "config/features=PackedStringArray(\"4.2\", \"C#\")\n");
    row("project.godot", "names", "config/name=\"a\" \"b\" \"c\"\n");
    row("project.godot", "an endless name", "x", "config/name=\"");
    row("project.godot", "endless features", "\"\"", "config/features=(");
    row("project.godot", "an endless number", "1", "config_version=");
    row("project.godot", "versions", "config_version=5\n");
    row("project.godot", "another writing", "\xe6\xb8\xb8\xe6\x88\x8f");
    row("project.godot", "newlines of other systems", "\xe2\x80\xa8\xc2\x85\r\n");
    row("project.godot", "almost newlines", "\xe2\x80\xa7\xc2\x84");
    row("README.md", "one sentence", "word ");
    row("README.md", "one word", "x");
    row("README.md", "bold letters", "**a__b");
    row("README.md", "a heading of signs", "#");
    row("README.md", "headings", "# How\n");
    row("README.md", "long headings", "# Contro" + QByteArray(90, 'c') + '\n');
    row("README.md", "headings of signs", "## **\n");
    row("README.md", "lines of signs", "* ** ** ** ** ** ** **\n");
    row("README.md", "an endless control", "`a#", "# Controls\n-");
    row("README.md", "bullets without a word", "- **\n", "# Controls\n");
    row("README.md", "short lines", "a b\n");
    row("LICENSE", "blank lines", " \n");
    row("LICENSE", "copyright signs", "(c)\xc2\xa9 2020, ", "Copyright ");
    row("LICENSE", "almost copyright", "Copyrigh\n");
    row("a.gd", "lines", "\tif Input.is_action_pressed(\"ui_down\"):\n");
    row("a.gd", "almost actions", "ui_");
}

void LargeFilesTest::anyFileIsReadInLittleTimeAndMemory()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, start);
    QFETCH(QByteArray, piece);
    const TestHome home;
    home.write(name, start + repeated(piece, strangeFileSize()));
    takesLittle(QStringLiteral("--read"), home, timeLimit * strangeFileSize() / fileSize,
                memoryLimit * strangeFileSize() / fileSize);
}

void LargeFilesTest::severalFilesTakeNoMoreMemoryThanOne()
{
    const TestHome home;
    for (const char *name : { "project.godot", "README", "LICENSE", "a.gd", "b.gd" })
        home.write(QString::fromLatin1(name), repeated("some text of a game\n", fileSize));
    takesLittle(QStringLiteral("--read"), home, 5 * timeLimit);
}

void LargeFilesTest::theEditTakesLittleTimeAndMemory_data()
{
    QTest::addColumn<QByteArray>("start");
    QTest::newRow("a new section") << QByteArray();
    QTest::newRow("into its section") << QByteArray("[input_devices]\n");
    QTest::newRow("behind a byte order mark") << QByteArray("\xef\xbb\xbf[input_devices]\n");
    QTest::newRow("nothing to do") << QByteArray("emulate_touch_from_mouse=false\n");
}

void LargeFilesTest::theEditTakesLittleTimeAndMemory()
{
    QFETCH(QByteArray, start);
    const TestHome home;
    const QString path
        = home.write(QStringLiteral("project.godot"), start + repeated("some=\"line\"\n", fileSize));
    const qint64 before = QFileInfo(path).size();
    takesLittle(QStringLiteral("--edit"), home);
    const bool isEdited = !start.startsWith("emulate");
    QCOMPARE(QFileInfo(path).size() > before, isEdited);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.read(1000).startsWith(start.trimmed()));
}

void LargeFilesTest::whatIsLargerThanAnyTextCountsAsUnreadable()
{
    const TestHome home;
    for (const char *name : { "project.godot", "README", "LICENSE", "a.gd" }) {
        // Sparse files take no space on the disk.
        const QString path
            = home.write(QString::fromLatin1(name), "config_version=5\nCopyright Jane\nui_up\n");
        QVERIFY(QFile::resize(path, 300 * megabyte));
    }
    takesLittle(QStringLiteral("--read"), home);
    const ProjectInfo info = ProjectInspector::inspect(home.path());
    QCOMPARE(info.configVersion, 0);
    QCOMPARE(info.blurb, QStringLiteral("Vantor"));
    QCOMPARE(info.author, QStringLiteral("see LICENSE"));
    QCOMPARE(info.controls.size(), 2);

    takesLittle(QStringLiteral("--edit"), home);
    QCOMPARE(QFileInfo(home.filePath(QStringLiteral("project.godot"))).size(), 300 * megabyte);
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

void LargeFilesTest::theSettingsOfALargeProjectFileAreFound()
{
    const TestHome home;
    home.write(QStringLiteral("project.godot"),
               "config_version=5\nconfig_version=" + QByteArray(megabyte, '1') + "\n"
                   + QByteArray(megabyte, ' ') + "config/name=\"Behind blanks\"" + QByteArray(megabyte, '\t')
                   + "\n" + repeated("x", fileSize / 2) + "\nrun/main_scene=\"res://last.tscn\"\n");
    const ProjectInfo info = ProjectInspector::inspect(home.path());
    QCOMPARE(info.configVersion, 5);
    QCOMPARE(info.name, QStringLiteral("Behind blanks"));
    QCOMPARE(info.mainScene, QStringLiteral("res://last.tscn"));
}

void LargeFilesTest::valuesOnEndlessLinesAreCut()
{
    const TestHome home;
    const qsizetype most = TextLines::longestLine;
    home.write(QStringLiteral("project.godot"),
               "config/name=\"Game\"\nconfig/name=\"" + repeated("x", fileSize) + "\"\n");
    home.write(QStringLiteral("README"),
               "# Controls " + repeated("y ", megabyte) + "\n" + repeated("word ", megabyte) + "\n- "
                   + repeated("z", megabyte) + "\n");
    home.write(QStringLiteral("LICENSE"),
               repeated("l", megabyte) + "\nCopyright 2020 " + repeated("a", megabyte));
    const ProjectInfo info = ProjectInspector::inspect(home.path());
    QCOMPARE(info.name, QStringLiteral("Game")); // the other one is cut before its closing quote
    QVERIFY(info.blurb.size() > longestParagraph && info.blurb.size() < 2 * longestParagraph + 3);
    QCOMPARE(info.controls.size(), 1);
    QVERIFY(info.controls.first().size() < most);
    QCOMPARE(info.licenseName, QString(most, u'l'));
    QVERIFY(info.author.size() < most && info.author.startsWith(QLatin1StringView("aaa")));
}

void LargeFilesTest::manyLargeScriptsAreReadQuickly()
{
    const TestHome home;
    const QByteArray script = repeated("\tif Input.is_action_pressed(\"ui_down\"):\n", megabyte / 2);
    for (int number = 0; number < 220; ++number)
        home.write(QStringLiteral("%1.gd").arg(number), script);
    takesLittle(QStringLiteral("--read"), home, 2 * timeLimit);
    QCOMPARE(controlsList({}, home.path()).controls.size(), 2);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() == 3 && arguments[1].startsWith(QLatin1StringView("--"))) {
        measure(arguments[1], arguments[2]);
        return 0;
    }
    LargeFilesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "LargeFilesTest.moc"
