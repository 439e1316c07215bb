#include "FreeSpace.h"
#include "AppError.h"
#include "DiskRoom.h"

#include "Failure.h"
#include "OrdinaryUser.h"
#include "SmallDisk.h"
#include "Table.h"
#include "TestHome.h"

#include <QTest>

#include <cerrno>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 megabyte = 1024 * 1024;
constexpr auto noDisk = "Only the superuser can mount the disk that this needs.";

}

class FreeSpaceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home.emplace(); }
    void cleanup() { m_home.reset(); }

    void whatIsWrittenIsNoLongerFree()
    {
        const SmallDisk disk(m_home->filePath(u"disk"_s), "size=1m");
        if (!disk.isMounted())
            QSKIP(noDisk);
        QCOMPARE(FreeSpace::bytes(m_home->filePath(u"disk"_s)), std::optional(megabyte));
        const QString file = m_home->write(u"disk/file"_s, QByteArray(megabyte / 4 - 100, 'x'));
        QCOMPARE(FreeSpace::bytes(m_home->filePath(u"disk"_s)), std::optional(megabyte * 3 / 4));
        QVERIFY(QFile::remove(file));
        QCOMPARE(FreeSpace::bytes(m_home->filePath(u"disk"_s)), std::optional(megabyte));
    }

    void ofWhatIsNotThereTheNearestFolderCounts_data()
    {
        const auto row = table<QString>("path");
        row("the folder", u"disk"_s);
        row("with a slash", u"disk/"_s);
        row("a file to be", u"disk/file"_s);
        row("a file in folders to be", u"disk/a/b/c/file"_s);
        row("below a file", u"disk/a file/a/b"_s);
        row("a way back", u"disk/none/../file"_s);
    }

    void ofWhatIsNotThereTheNearestFolderCounts()
    {
        QFETCH(QString, path);
        const SmallDisk disk(m_home->filePath(u"disk"_s), "size=1m");
        if (!disk.isMounted())
            QSKIP(noDisk);
        m_home->write(u"disk/a file"_s, "x");
        QCOMPARE(FreeSpace::bytes(m_home->filePath(path)), std::optional(megabyte - 4096));
    }

    void whereItCannotBeAskedNothingIsRequired_data()
    {
        const auto row = table<QString>("path");
        row("a name that is too long", QString(5000, u'a'));
        row("a circle of links", u"circle/file"_s);
#ifdef Q_OS_LINUX
        row("a file system without blocks", u"/proc/self"_s);
#endif
    }

    void whereItCannotBeAskedNothingIsRequired()
    {
        QFETCH(QString, path);
        m_home->link(u"circle"_s, m_home->filePath(u"circle"_s));
        const QString place = m_home->filePath(path);
        QVERIFY(!FreeSpace::bytes(place));
        FreeSpace::require(std::numeric_limits<qint64>::max(), place, u"the game"_s);
    }

    void aFolderThatMayNotBeEnteredDoesNotSay()
    {
        m_home->write(u"closed/inside/file"_s, "x");
        m_home->setMode(u"closed"_s, 0600);
        QVERIFY(OrdinaryUser::ownTree(m_home->path()));
        const QString inside = m_home->filePath(u"closed/inside/file"_s);
        QVERIFY(OrdinaryUser::run([&inside] { return !FreeSpace::bytes(inside); }));
        m_home->setMode(u"closed"_s, 0700);
    }

    void whatDoesNotFitIsOneSentence()
    {
        const SmallDisk disk(m_home->filePath(u"disk"_s), "size=1m");
        if (!disk.isMounted())
            QSKIP(noDisk);
        const QString file = m_home->filePath(u"disk/game.zip"_s);
        const auto require
            = [&](qint64 bytes) { return [=] { FreeSpace::require(bytes, file, u"the game"_s); }; };
        QCOMPARE(failureOf<AppError>(require(0)), QString());
        QCOMPARE(failureOf<AppError>(require(megabyte)), QString());
        QCOMPARE(failureOf<AppError>(require(megabyte + 1)),
                 u"There is not enough space for the game: about 1 MB are needed and 1 MB are free."_s);
    }

    void theSentenceNamesWhatAndHowMuch_data()
    {
        const auto row = table<QString, qint64, qint64, QString>("thing", "needed", "free", "sentence");
        row("an engine", u"Godot 4.7.2"_s, 297'000'000, 120'000'000,
            u"There is not enough space for Godot 4.7.2: about 297 MB are needed and 120 MB are free."_s);
        row("one with .NET", u"Godot 4.3 (.NET)"_s, 1'234'567'890, 0,
            u"There is not enough space for Godot 4.3 (.NET): about 1.23 GB are needed and Zero kB are free."_s);
        row("an odd version", u"Godot %1.%2"_s, 5000, 4000,
            u"There is not enough space for Godot %1.%2: about 5 kB are needed and 4 kB are free."_s);
    }

    void theSentenceNamesWhatAndHowMuch()
    {
        QFETCH(QString, thing);
        QFETCH(qint64, needed);
        QFETCH(qint64, free);
        QTEST(FreeSpace::notEnough(thing, needed, free), "sentence");
    }

    void numbersBeyondAllMeasureStayTheLargest()
    {
        constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
        QCOMPARE(saturatedProduct(most / 4096, 4096), most - 4095);
        QCOMPARE(saturatedProduct(most / 4096 + 1, 4096), most);
        QCOMPARE(saturatedProduct(most, most), most);
        QCOMPARE(saturatedProduct(most, 0), std::uint64_t(0));
        QCOMPARE(saturatedSum(most - 1, 1), most);
        QCOMPARE(saturatedSum(most - 1, 2), most);
        QCOMPARE(saturatedSum(most, most), most);
        QCOMPARE(saturatedSum(2, 3), std::uint64_t(5));
    }

private:
    std::optional<TestHome> m_home;
};

QTEST_GUILESS_MAIN(FreeSpaceTest)
#include "FreeSpaceTest.moc"
