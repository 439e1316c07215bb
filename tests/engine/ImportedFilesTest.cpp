#include "ImportedFiles.h"
#include "Table.h"
#include "TestHome.h"

#include <QTest>
#include <QThread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Files by their paths, with their contents.
using Files = QList<std::pair<QString, QByteArray>>;

QByteArray list(const QByteArrayList &paths) { return "dest_files=[ \"" + paths.join("\", \"") + "\" ]\n"; }

/// An *.import file as an engine of the 4.x line writes it.
QByteArray importOf(const QByteArray &path, const QByteArray &more = {})
{
    return "[remap]\n\nimporter=\"texture\"\ntype=\"CompressedTexture2D\"\nuid=\"uid://b1\"\npath=\"" + path
        + "\"\nmetadata={\n\"vram_texture\": false\n}\n\n[deps]\n\nsource_file=\"res://a.png\"\n"
        + list({ path }) + more + "\n[params]\n\ncompress/mode=0\n_subresources={\n\"path\": \"x\"\n}\n";
}

const QByteArray picture = "res://.godot/imported/a.png-0.ctex";
const Files imported { { u"a.png"_s, "x" },
                       { u"a.png.import"_s, importOf(picture) },
                       { u".godot/imported/a.png-0.ctex"_s, "x" } };

using Arrange = void (*)(const TestHome &);

}

class ImportedFilesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home.emplace();
        QDir().mkpath(project());
    }
    void cleanup() { m_home.reset(); }

    void anImportIsCompleteWhenAllThatIsNamedExists_data()
    {
        const auto row = table<Files>("files");
        row("a picture", {});
        row("in a folder, with another picture",
            { { u"art/b.PNG"_s, "x" },
              { u"art/b.PNG.import"_s, importOf("res://.godot/imported/b.PNG-1.ctex") },
              { u".godot/imported/b.PNG-1.ctex"_s, "x" } });
        row("of the older line, in two variants",
            { { u"b.png"_s, "x" },
              { u"b.png.import"_s,
                "[remap]\n\nimporter=\"texture\"\npath.s3tc=\"res://.import/b.s3tc.stex\"\n"
                "path.etc2=\"res://.import/b.etc2.stex\"\n\n[deps]\n\n"
                    + list({ "res://.import/b.s3tc.stex", "res://.import/b.etc2.stex" }) },
              { u".import/b.s3tc.stex"_s, "x" },
              { u".import/b.etc2.stex"_s, {} } });
        row("translations, which lie beside their table",
            { { u"text.csv"_s, "x" },
              { u"text.csv.import"_s,
                "[remap]\nimporter=\"csv_translation\"\n[deps]\n"
                    + list({ "res://text.en.translation", "res://text.de.translation" }) },
              { u"text.en.translation"_s, "x" },
              { u"text.de.translation"_s, "x" } });
        row("a file that is kept as it is",
            { { u"b.csv"_s, "x" }, { u"b.csv.import"_s, "[remap]\n\nimporter=\"keep\"\n" } });
        row("one that could not be imported",
            { { u"b.wav"_s, "x" }, { u"b.wav.import"_s, "[remap]\nimporter=\"wav\"\nvalid=false\n" } });
        row("what the engine ignores: a hidden folder", { { u".git/b.png"_s, "x" } });
        row("what the engine ignores: a folder that says so",
            { { u"docs/.gdignore"_s, {} }, { u"docs/b.png"_s, "x" }, { u"docs/more/c.png"_s, "x" } });
        row("what the engine ignores: another project",
            { { u"other/project.godot"_s, {} }, { u"other/b.png"_s, "x" } });
        row("other files", { { u"main.tscn"_s, "x" }, { u"font.ttf"_s, "x" }, { u"project.godot"_s, "x" } });
        row("lines that end as on Windows",
            { { u"a.png.import"_s, importOf(picture).replace("\n", "\r\n") } });
    }

    void anImportIsCompleteWhenAllThatIsNamedExists()
    {
        QFETCH(Files, files);
        write(imported + files);
        QVERIFY(areComplete());
    }

    void anImportIsNotCompleteWhileAnythingIsMissingOrInDoubt_data()
    {
        const auto row = table<Files>("files");
        const auto second = [&row](const char *name, const QByteArray &text) {
            row(name, { { u"b.png"_s, "x" }, { u"b.png.import"_s, text } });
        };
        const QByteArray b = "res://.godot/imported/b.ctex";
        second("a missing file", importOf(b));
        second("a missing file that only the path names", "[remap]\npath=\"" + b + "\"\n");
        second("a missing file that only the list names", "[deps]\n" + list({ picture, b }));
        second("a missing variant", "[remap]\npath.s3tc=\"" + picture + "\"\npath.etc2=\"" + b + "\"\n");
        second("a file outside", importOf("res://../outside"));
        second("a file outside, by a longer way", importOf("res://.godot/../../outside"));
        second("a file anywhere", importOf("/etc/passwd"));
        second("a path of the player's", importOf("user://b.ctex"));
        second("the project itself", importOf("res://"));
        second("a folder", importOf("res://.godot"));
        second("a list that goes on", "[deps]\ndest_files=[ \"" + picture + "\",\n\"" + picture + "\" ]\n");
        second("a path that goes on", "[remap]\npath=\"res://.godot/\nimported\"\n");
        second("a path without quotes", "[remap]\npath=" + picture + "\n");
        second("a path with an escape", "[remap]\npath=\"res://.godot\\u002fx\"\n");
        second("more text than anybody writes", QByteArray(1024 * 1024 + 1, '\n'));
        row("a picture that was not imported yet", { { u"b.png"_s, "x" } });
        row("a sound in a folder that was not imported yet", { { u"sounds/b.OGG"_s, "x" } });
    }

    void anImportIsNotCompleteWhileAnythingIsMissingOrInDoubt()
    {
        QFETCH(Files, files);
        m_home->write(u"outside"_s, "x");
        write(imported);
        QVERIFY(areComplete());
        write(files);
        QVERIFY(!areComplete());
    }

    void aProjectThatNamesNothingIsNeverComplete_data()
    {
        const auto row = table<Files>("files");
        row("an empty one", {});
        row("nothing to import", { { u"project.godot"_s, "x" }, { u".godot/editor/x"_s, "x" } });
        row("only files that are kept",
            { { u"b.csv"_s, "x" }, { u"b.csv.import"_s, "[remap]\n\nimporter=\"keep\"\n" } });
        row("another section's words",
            { { u"b.csv"_s, "x" },
              { u"b.csv.import"_s,
                "[params]\npath=\"res://b.csv\"\n[remap]\ndest_files=[ \"res://b.csv\" ]\n" } });
    }

    void aProjectThatNamesNothingIsNeverComplete()
    {
        QFETCH(Files, files);
        write(files);
        QVERIFY(!areComplete());
    }

    void linksAndPipesAreNotFollowed_data()
    {
        const auto row = table<Arrange>("arrange");
        row("an imported file that is a link", [](const TestHome &home) {
            QVERIFY(QFile::remove(home.filePath(u"game/.godot/imported/a.png-0.ctex"_s)));
            home.link(u"game/.godot/imported/a.png-0.ctex"_s, home.write(u"outside"_s, "x"));
        });
        row("a folder of imported files that is a link", [](const TestHome &home) {
            QVERIFY(QDir().rename(home.filePath(u"game/.godot"_s), home.filePath(u"outside"_s)));
            home.link(u"game/.godot"_s, home.filePath(u"outside"_s));
        });
        row("a project that is a link", [](const TestHome &home) {
            QVERIFY(QDir().rename(home.filePath(u"game"_s), home.filePath(u"outside"_s)));
            home.link(u"game"_s, home.filePath(u"outside"_s));
        });
        row("the file with the names is a link", [](const TestHome &home) {
            const QString file = home.filePath(u"game/a.png.import"_s);
            QVERIFY(QFile::rename(file, home.filePath(u"outside"_s)));
            home.link(u"game/a.png.import"_s, home.filePath(u"outside"_s));
        });
        row("the file with the names is a pipe", [](const TestHome &home) {
            QVERIFY(QFile::remove(home.filePath(u"game/a.png.import"_s)));
            QCOMPARE(::mkfifo(home.bytes(u"game/a.png.import"_s).constData(), 0600), 0);
        });
    }

    void linksAndPipesAreNotFollowed()
    {
        QFETCH(Arrange, arrange);
        write(imported);
        QVERIFY(areComplete());
        arrange(*m_home);
        QVERIFY(!areComplete());
    }

    void aLinkElsewhereInTheProjectIsNeitherEnteredNorInTheWay()
    {
        write(imported);
        m_home->link(u"game/everything"_s, u"/"_s);
        m_home->link(u"game/itself"_s, project());
        m_home->link(u"game/b.png"_s, u"/nowhere"_s);
        QVERIFY(areComplete());
        QVERIFY(ImportedFiles::fingerprint(project()).has_value());
    }

    void everyChangeBelowTheProjectChangesTheFingerprint_data()
    {
        const auto row = table<Arrange>("change");
        row("a new file", [](const TestHome &home) { home.write(u"game/b"_s, "x"); });
        row("a new file in a hidden folder",
            [](const TestHome &home) { home.write(u"game/.godot/b"_s, {}); });
        row("a new folder", [](const TestHome &home) { QDir().mkpath(home.filePath(u"game/b"_s)); });
        row("a file that grew",
            [](const TestHome &home) { home.write(u"game/.godot/imported/a.png-0.ctex"_s, "xx"); });
        row("a file written again", [](const TestHome &home) { home.write(u"game/a.png"_s, "x"); });
        row("a file that went away",
            [](const TestHome &home) { QFile::remove(home.filePath(u"game/a.png"_s)); });
        row("a file renamed", [](const TestHome &home) {
            QFile::rename(home.filePath(u"game/a.png"_s), home.filePath(u"game/b.png"_s));
        });
        row("other permissions", [](const TestHome &home) { home.setMode(u"game/a.png"_s, 0600); });
        row("a time set back", [](const TestHome &home) {
            const timespec times[2] = { { 1, 0 }, { 1, 0 } };
            QCOMPARE(::utimensat(AT_FDCWD, home.bytes(u"game/a.png"_s).constData(), times, 0), 0);
        });
    }

    void everyChangeBelowTheProjectChangesTheFingerprint()
    {
        QFETCH(Arrange, change);
        write(imported);
        const auto before = ImportedFiles::fingerprint(project());
        QVERIFY(before);
        QCOMPARE(ImportedFiles::fingerprint(project()), before);
        QThread::msleep(20); // longer than the tick of a file system's clock
        change(*m_home);
        const auto after = ImportedFiles::fingerprint(project());
        QVERIFY(after);
        QVERIFY(after != before);
    }

    void whatCannotBeReadInFullHasNoResult_data()
    {
        const auto row = table<Arrange>("arrange");
        row("no project", [](const TestHome &home) { QDir(home.filePath(u"game"_s)).removeRecursively(); });
        row("more files than a game has", [](const TestHome &home) {
            for (int folder = 0; folder <= 20; ++folder) {
                const QString path = home.filePath(u"game/%1"_s.arg(folder));
                QDir().mkpath(path);
                const QByteArray first = QFile::encodeName(path + u"/file"_s);
                home.write(u"game/%1/file"_s.arg(folder), {});
                for (int file = 1; file < 10'000; ++file) {
                    if (::link(first.constData(), (first + QByteArray::number(file)).constData()) != 0)
                        qFatal("No link could be made.");
                }
            }
        });
    }

    void whatCannotBeReadInFullHasNoResult()
    {
        QFETCH(Arrange, arrange);
        write(imported);
        arrange(*m_home);
        QVERIFY(!ImportedFiles::fingerprint(project()));
        QVERIFY(!areComplete());
    }

    void aStopEndsTheReading()
    {
        write(imported);
        std::stop_source stop;
        stop.request_stop();
        QVERIFY(!ImportedFiles::fingerprint(project(), stop.get_token()));
        QVERIFY(!ImportedFiles::areComplete(project(), stop.get_token()));
    }

    void theTextOfAllImportFilesTogetherIsLimited()
    {
        write(imported);
        const QByteArray text = importOf(picture, QByteArray(1'000'000, '\n'));
        for (int file = 0; file < 33; ++file)
            write({ { u"%1.ttf.import"_s.arg(file), text } });
        QVERIFY(areComplete());
        write({ { u"last.ttf.import"_s, text } });
        QVERIFY(!areComplete());
    }

private:
    QString project() const { return m_home->filePath(u"game"_s); }

    void write(const Files &files) const
    {
        for (const auto &[name, content] : files)
            m_home->write(u"game/"_s + name, content);
    }

    bool areComplete() const { return ImportedFiles::areComplete(project()); }

    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(ImportedFilesTest)
#include "ImportedFilesTest.moc"
