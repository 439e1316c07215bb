#include "Controls.h"
#include "GameFolder.h"
#include "LicenseInfo.h"
#include "ProjectInspector.h"
#include "Readme.h"
#include "Rows.h"
#include "Strain.h"
#include "TextLines.h"

#include <QProcess>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {

#if defined(__OPTIMIZE__)
constexpr qint64 slowness = 1;
#elif defined(COUNTS_COVERAGE)
constexpr qint64 slowness = 16;
#else
constexpr qint64 slowness = 8;
#endif

constexpr qsizetype megabyte = 1000 * 1000;
/// Sanitizers multiply memory and time: with them, the same code runs on small files and no limit is checked.
constexpr qsizetype fileSize = (Strain::isMeasurable() ? 50 : 1) * megabyte;
/// The limits for 50 MB: additional peak memory in bytes, and processor time in milliseconds.
constexpr qint64 memoryLimit = 64 * megabyte;
constexpr qint64 timeLimit = 1000 * slowness;

/// The size of each of the many strange files: a fifth, to save time, unless FULL_SIZE is set.
qsizetype strangeFileSize()
{
    return !Strain::isMeasurable() || qEnvironmentVariableIsSet("FULL_SIZE") ? fileSize : fileSize / 5;
}

/// The peak memory of this process so far, in bytes. Not Strain's, which also counts what was freed before.
qint64 peakMemory() { return Strain::memory("VmHWM:"); }

/// Reads or edits the project in `root` in this process, and prints what that took: bytes and milliseconds.
void measure(const QString &what, const QString &root)
{
    const qint64 memory = peakMemory();
    const std::clock_t begin = std::clock();
    if (what == u"--read")
        ProjectInspector::inspect(root);
    else
        ProjectInspector::enableMouseAsTouch(root);
    const auto milliseconds = static_cast<long long>((std::clock() - begin) * 1000 / CLOCKS_PER_SEC);
    std::printf("%lld %lld\n", static_cast<long long>(peakMemory() - memory), milliseconds);
}

QByteArray repeated(const QByteArray &piece, qsizetype size) { return piece.repeated(size / piece.size()); }

}

/// Files far larger than people write. Processor time is measured, so a busy machine does not matter.
class LargeFilesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anyFileIsReadInLittleTimeAndMemory_data()
    {
        const auto add = rows([](const QString &name, const QByteArray &start, const QByteArray &piece) {
            const GameFolder game;
            game.write(name, start + repeated(piece, strangeFileSize()));
            takesLittle("--read", game, timeLimit * strangeFileSize() / fileSize,
                        memoryLimit * strangeFileSize() / fileSize);
        });
        const auto row = [add](const char *name, const char *what, const QByteArray &piece,
                               const QByteArray &start = {}) {
            add((QByteArray(name) + ": " + what).constData(), QString::fromLatin1(name), start, piece);
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
    void anyFileIsReadInLittleTimeAndMemory() { runRow(); }

    void severalFilesTakeNoMoreMemoryThanOne()
    {
        const GameFolder game;
        for (const char *name : { "project.godot", "README", "LICENSE", "a.gd", "b.gd" })
            game.write(name, repeated("some text of a game\n", fileSize));
        takesLittle("--read", game, 5 * timeLimit);
    }

    void theEditTakesLittleTimeAndMemory_data()
    {
        const auto row = rows([](const QByteArray &start) {
            const GameFolder game;
            const QString path = game.write("project.godot", start + repeated("some=\"line\"\n", fileSize));
            const qint64 before = QFileInfo(path).size();
            takesLittle("--edit", game);
            const bool isEdited = !start.startsWith("emulate");
            QCOMPARE(QFileInfo(path).size() > before, isEdited);
            QVERIFY(game.content("project.godot").startsWith(start.trimmed()));
        });
        row("a new section", "");
        row("into its section", "[input_devices]\n");
        row("behind a byte order mark", "\xef\xbb\xbf[input_devices]\n");
        row("nothing to do", "emulate_touch_from_mouse=false\n");
    }
    void theEditTakesLittleTimeAndMemory() { runRow(); }

    void whatIsLargerThanAnyTextCountsAsUnreadable()
    {
        const GameFolder game;
        for (const char *name : { "project.godot", "README", "LICENSE", "a.gd" }) {
            // Sparse files take no space on the disk.
            const QString path = game.write(name, "config_version=5\nCopyright Jane\nui_up\n");
            QVERIFY(QFile::resize(path, 300 * megabyte));
        }
        takesLittle("--read", game);
        const ProjectInfo info = ProjectInspector::inspect(game.path());
        QCOMPARE(info.configVersion, 0);
        QCOMPARE(info.blurb, ProjectInfo().name);
        QCOMPARE(info.author, LicenseInfo::parse({}).author);
        QCOMPARE(info.controls.size(), 2);

        takesLittle("--edit", game);
        QCOMPARE(QFileInfo(game.path("project.godot")).size(), 300 * megabyte);
    }

    void theSettingsOfALargeProjectFileAreFound()
    {
        const GameFolder game;
        game.write("project.godot",
                   "config_version=5\nconfig_version=" + QByteArray(megabyte, '1') + "\n"
                       + QByteArray(megabyte, ' ') + "config/name=\"Behind blanks\""
                       + QByteArray(megabyte, '\t') + "\n" + repeated("x", fileSize / 2)
                       + "\nrun/main_scene=\"res://last.tscn\"\n");
        const ProjectInfo info = ProjectInspector::inspect(game.path());
        QCOMPARE(info.configVersion, 5);
        QCOMPARE(info.name, u"Behind blanks"_s);
        QCOMPARE(info.mainScene, u"res://last.tscn"_s);
    }

    void valuesOnEndlessLinesAreCut()
    {
        const GameFolder game;
        const qsizetype most = TextLines::longestLine;
        game.write("project.godot",
                   "config/name=\"Game\"\nconfig/name=\"" + repeated("x", fileSize) + "\"\n");
        game.write("README",
                   "# Controls " + repeated("y ", megabyte) + "\n" + repeated("word ", megabyte) + "\n- "
                       + repeated("z", megabyte) + "\n");
        game.write("LICENSE", repeated("l", megabyte) + "\nCopyright 2020 " + repeated("a", megabyte));
        const ProjectInfo info = ProjectInspector::inspect(game.path());
        QCOMPARE(info.name, u"Game"_s); // the other one is cut before its closing quote
        QVERIFY(info.blurb.size() > longestParagraph && info.blurb.size() < 2 * longestParagraph + 3);
        QCOMPARE(info.controls.size(), 1);
        QVERIFY(info.controls.first().size() < most);
        QCOMPARE(info.licenseName, QString(most, u'l'));
        QVERIFY(info.author.size() < most && info.author.startsWith(u"aaa"));
    }

    void manyLargeScriptsAreReadQuickly()
    {
        const GameFolder game;
        const QByteArray script = repeated("\tif Input.is_action_pressed(\"ui_down\"):\n", megabyte / 2);
        for (int number = 0; number < 220; ++number)
            game.write(u"%1.gd"_s.arg(number), script);
        takesLittle("--read", game, 2 * timeLimit);
        QCOMPARE(controlsList({}, game.path()).controls.size(), 2);
    }

private:
    /// Runs `measure` in a process of its own.
    static void takesLittle(const char *what, const GameFolder &game, qint64 milliseconds = timeLimit,
                            qint64 memory = memoryLimit)
    {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), { QString::fromLatin1(what), game.path() });
        QVERIFY(process.waitForFinished(300'000));
        QCOMPARE(process.exitCode(), 0);
        const QList<QByteArray> numbers = process.readAllStandardOutput().trimmed().split(' ');
        QCOMPARE(numbers.size(), 2);
        qInfo("%.1f MB more memory, %s ms", numbers[0].toDouble() / megabyte, numbers[1].constData());
        if (!Strain::isMeasurable())
            return;
        QVERIFY(numbers[0].toLongLong() < memory);
        QVERIFY(numbers[1].toLongLong() < milliseconds);
    }
};

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() == 3 && arguments[1].startsWith("--"_L1)) {
        measure(arguments[1], arguments[2]);
        return 0;
    }
    LargeFilesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "LargeFilesTest.moc"
