#include "DirectorySize.h"

#include "OrdinaryUser.h"
#include "Table.h"
#include "TestHome.h"

#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// Makes something in the home, and returns the path to measure.
using Make = std::function<QString(const TestHome &home)>;
/// Makes files in the home, and returns their paths.
using MakeFiles = std::function<QStringList(const TestHome &home)>;

const QByteArray content(10'000, 'x');

qint64 blocksOf(const QString &path)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_blocks * 512 : -1;
}

}

class DirectorySizeTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }

    void whatHoldsNoFileIsZero_data()
    {
        const auto row = table<Make>("make");
        row("no path", [](const TestHome &) { return QString(); });
        row("a missing folder", [](const TestHome &home) { return home.filePath(u"nothing"_s); });
        row("an empty folder", [](const TestHome &home) { return home.path(); });
        row("a file in place of a folder",
            [](const TestHome &home) { return home.write(u"file"_s, content); });
        row("a link to a large file", [](const TestHome &home) {
            return QFileInfo(home.link(u"tree/link"_s, home.write(u"large"_s, content))).path();
        });
        row("links to folders", [](const TestHome &home) {
            home.write(u"away/large"_s, content);
            home.link(u"tree/away"_s, home.filePath(u"away"_s));
            home.link(u"tree/round"_s, u"."_s);
            return home.filePath(u"tree"_s);
        });
        row("a pipe, which must not block", [](const TestHome &home) {
            return ::mkfifo(home.bytes(u"pipe"_s).constData(), 0600) == 0 ? home.path() : QString();
        });
    }

    void whatHoldsNoFileIsZero()
    {
        QFETCH(Make, make);
        QCOMPARE(directorySize(make(*m_home)), 0);
    }

    void everyFileCountsTheBlocksThatItTakes_data()
    {
        const auto row = table<MakeFiles>("make");
        row("of one byte", [](const TestHome &home) { return QStringList(home.write(u"one"_s, "1")); });
        row("sparse", [](const TestHome &home) {
            const QString file = home.write(u"sparse"_s, "1");
            return QFile::resize(file, 1'000'000'000) ? QStringList(file) : QStringList();
        });
        row("hidden or in a bundle", [](const TestHome &home) {
            return QStringList({ home.write(u".imported-4.3"_s, content),
                                 home.write(u".godot/imported/a.ctex"_s, content),
                                 home.write(u"Godot.app/Contents/MacOS/Godot"_s, content) });
        });
        row("with two names, at each of them", [](const TestHome &home) {
            const QStringList names { home.write(u"a"_s, content), home.filePath(u"b"_s) };
            ::link(home.bytes(names[0]).constData(), home.bytes(names[1]).constData());
            return names;
        });
        row("five hundred folders deep, and beside that", [](const TestHome &home) {
            return QStringList(
                { home.write(u"d/"_s.repeated(500) + u"file"_s, "1"), home.write(u"d/beside"_s, "1") });
        });
    }

    void everyFileCountsTheBlocksThatItTakes()
    {
        QFETCH(MakeFiles, make);
        qint64 expected = 0;
        for (const QString &file : make(*m_home))
            expected += blocksOf(file);
        QVERIFY(expected > 1 && expected < 1'000'000);
        QCOMPARE(directorySize(m_home->path()), expected);
    }

    void aFolderNamedByALinkIsSized()
    {
        const QString file = m_home->write(u"real/a"_s, content);
        QCOMPARE(directorySize(m_home->link(u"link"_s, u"real"_s)), blocksOf(file));
    }

    void namesThatAreNotUtf8Count()
    {
        const QByteArray folder = m_home->bytes(u"caf"_s) + '\xE9';
        if (::mkdir(folder.constData(), 0700) != 0)
            QSKIP("This file system takes only names in UTF-8.");
        const QByteArray file = folder + "/\xFF\xFE";
        QCOMPARE(::rename(m_home->bytes(m_home->write(u"plain"_s, content)).constData(), file.constData()),
                 0);
        QVERIFY(directorySize(m_home->path()) >= content.size());
        // QTemporaryDir removes only names in UTF-8.
        QCOMPARE(::unlink(file.constData()), 0);
        QCOMPARE(::rmdir(folder.constData()), 0);
    }

    void aFolderThatIsShutAddsNothingAndTheRestCounts_data()
    {
        const auto row = table<mode_t>("mode");
        row("neither listed nor searched", 0);
        row("listed, but not searched", 0444);
        row("searched, but not listed", 0311);
    }

    void aFolderThatIsShutAddsNothingAndTheRestCounts()
    {
        QFETCH(mode_t, mode);
        m_home->setMode(m_home->path(), 0755);
        // One in each of two folders, so that in any order of listing something follows one of them.
        qint64 open = 0;
        qint64 shut = 0;
        for (const QString &name : { u"a"_s, u"b"_s }) {
            open += blocksOf(m_home->write(name + u"/file"_s, content));
            shut += blocksOf(m_home->write(name + u"/shut/file"_s, content));
            m_home->setMode(name + u"/shut"_s, mode);
        }
        const bool asExpected = OrdinaryUser::run([&] { return directorySize(m_home->path()) == open; });
        for (const QString &name : { u"a"_s, u"b"_s })
            m_home->setMode(name + u"/shut"_s, 0700);
        QVERIFY(asExpected);
        QCOMPARE(directorySize(m_home->path()), open + shut);
    }

private:
    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(DirectorySizeTest)
#include "DirectorySizeTest.moc"
