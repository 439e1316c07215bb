#include "AppError.h"
#include "Archive.h"
#include "FileError.h"
#include "FileSizeText.h"
#include "InstallFixture.h"
#include "RepoDownloader.h"
#include "SmallDisk.h"
#include "Table.h"

#include <cerrno>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 diskSize = 2 * 1024 * 1024;
constexpr qint64 block = 4096;

qint64 inBlocks(qint64 size) { return (size + block - 1) / block * block; }

QString sentence(const QString &thing, qint64 needed, qint64 free)
{
    return u"There is not enough space for %1: about %2 are needed and %3 are free."_s.arg(
        thing, fileSizeText(needed), fileSizeText(free));
}

/// An entry that takes `size` bytes when unpacked, and next to none in the archive.
ZipEntry zeros(const QByteArray &name, qsizetype size)
{
    return { .name = name, .content = QByteArray(size, '\0'), .method = ZipEntry::deflated };
}

}

/// Installs the game and engines on a disk of two megabytes.
class DiskSpaceTest final : public QObject, private InstallFixture {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        begin();
        m_disk.emplace(m_home->dataHome(), "size=2m");
        if (!m_disk->isMounted())
            QSKIP("Only the superuser can mount the disk that this needs.");
    }
    void cleanup()
    {
        m_disk.reset();
        end();
    }

    void aDownloadThatDoesNotFitIsNotBegun_data()
    {
        const auto row = table<qint64>("length");
        row("more than the disk", 30'000'000);
        row("an archive that fits, but not with what is in it", 1'200'000);
        row("as much as may be", 4'000'000'000);
    }

    void aDownloadThatDoesNotFitIsNotBegun()
    {
        QFETCH(qint64, length);
        // Nothing but the header ever comes.
        HttpReply header = HttpReply::head(200, { "Content-Length: " + QByteArray::number(length) });
        header.stall();
        m_server->serve(gamePath(), header);
        QCOMPARE(failureOfGame(), sentence(u"the game"_s, 2 * length, diskSize));

        for (const bool isMono : { false, true }) {
            m_spec.isMono = isMono;
            m_server->serve(listPath(), QByteArray(128, 'a') + "  " + m_spec.fileName().toUtf8() + "\n");
            m_server->serve(archivePath(), header);
            const QString name = isMono ? u"Godot 4.3 (.NET)"_s : u"Godot 4.3"_s;
            QCOMPARE(failure(), sentence(name, 2 * length, diskSize));
            nothingIsInstalled();
        }
    }

    void aDownloadWithoutALengthFillsTheDisk()
    {
        m_server->serve(gamePath(), HttpReply::head(200).send(QByteArray(3'000'000, 'x')));
        const auto error = Tasks::failure<FileError>(installGame());
        QVERIFY(error);
        QCOMPARE(error->code(), ENOSPC);
        nothingIsLeftInTemp();
    }

    void whatDoesNotFitUnpackedIsNotUnpackedAndTheOldGameStays()
    {
        serveGame({});
        installGameWell();
        const QByteArray before = m_home->read(installedProject());
        // It would fit in place of the old game, which is kept until the new one is whole.
        const QByteArray archive = serveGame({ zeros("Vantor-master/music", 1'200'000) });
        const qint64 free = diskSize - gameSize() - inBlocks(archive.size());
        QCOMPARE(failureOfGame(), sentence(u"the game"_s, inBlocks(1'200'000) + gameSize(), free));
        QTRY_VERIFY(log().last().startsWith(u"The archive's files take "_s));
        QCOMPARE(m_home->read(installedProject()), before);
        nothingIsLeftInTemp();

        QVERIFY(QDir(Paths::gameFolder()).removeRecursively());
        installGameWell();
    }

    void anEngineThatDoesNotFitUnpackedIsAsIfNeverDownloaded_data()
    {
        const auto row = table<Desktop::System>("system");
        row("Linux", Desktop::System::Linux);
        row("macOS, where the check says so", Desktop::System::MacOS);
    }

    void anEngineThatDoesNotFitUnpackedIsAsIfNeverDownloaded()
    {
        QFETCH(Desktop::System, system);
        Desktop desktop = use(system);
        if (system == Desktop::System::MacOS) {
            desktop.archiveCheckTool = desktop.unpackTool;
            desktop.unpackTool = shellScript(*m_home, u"ditto"_s, "touch \"$HOME/ditto ran\"");
            Desktop::use(desktop);
        }
        const SmallDisk disk(Paths::base(), "size=2m"); // not the same folder on macOS
        QVERIFY(disk.isMounted());
        const ZipBuilder build { ZipEntry::program(programName, "#!/bin/sh\n"), zeros("data", 2'500'000) };
        serve(build);
        const qint64 needed = block + inBlocks(2'500'000);
        const qint64 free = diskSize - inBlocks(build.bytes().size());
        QCOMPARE(failure(), sentence(u"Godot 4.3"_s, needed, free));
        nothingIsInstalled();
        QVERIFY(!QFileInfo::exists(m_home->filePath(u"ditto ran"_s)));
    }

    void onceThereIsRoomTheNextTryWorks()
    {
        const QString film = m_home->write(u"data/film"_s, QByteArray(diskSize - 3 * block, 'x'));
        serve(linuxBuild(QByteArray(20'000, 'x')));
        QVERIFY(failure().startsWith(u"There is not enough space for Godot 4.3: about "_s));
        nothingIsInstalled();
        QVERIFY(QFile::remove(film));
        install();
        QCOMPARE(installedProgram().size(), 20'000);
    }

    void onlyWhatIsStillToComeCountsWhenPartOfItIsThere()
    {
        const QString archive = m_home->filePath(u"data/game.zip"_s);
        m_home->write(u"data/game.zip.part"_s, QByteArray(100 * block, 'x'));
        const qint64 free = diskSize - 100 * block;
        const auto failureFor = [&archive](qint64 size) {
            try {
                Archive::requireRoom(size, archive, u"the game"_s);
            } catch (const AppError &error) {
                return error.errorDescription();
            }
            return QString();
        };
        const qint64 largest = (free + 100 * block) / 2;
        QCOMPARE(failureFor(largest), QString());
        QCOMPARE(failureFor(largest + 1), sentence(u"the game"_s, free + 2, free));
        QCOMPARE(failureFor(-1), QString());
        constexpr qint64 most = std::numeric_limits<qint64>::max();
        QCOMPARE(failureFor(most), sentence(u"the game"_s, most - 100 * block, free));
    }

private:
    static QString gamePath() { return RepoDownloader::zipURL().path(); }
    static QString installedProject() { return Paths::gameFolder() + u"/project.godot"_s; }
    /// What a game without others' entries takes on the disk.
    static qint64 gameSize() { return 3 * block + inBlocks(700'000); }

    /// Serves a game of some 700 kB with `others` as further entries, and returns its archive.
    QByteArray serveGame(const QList<ZipEntry> &others) const
    {
        ZipBuilder archive { ZipEntry::file("Vantor-master/project.godot", "config_version=5\n"),
                             ZipEntry::file("Vantor-master/a.gd", "x"),
                             ZipEntry::file("Vantor-master/b.gd", "x"),
                             zeros("Vantor-master/level", 700'000) };
        archive.entries += others;
        const QByteArray bytes = archive.bytes();
        m_server->serve(gamePath(), bytes);
        return bytes;
    }

    QCoro::Task<QString> installGame()
    {
        return m_repository.install(m_log.get(), nullptr, m_stop.get_token());
    }

    void installGameWell() { QCOMPARE(Tasks::finish(installGame()), Paths::gameFolder()); }

    QString failureOfGame() { return failureOf(installGame()); }

    RepoDownloader m_repository;
    std::optional<SmallDisk> m_disk;
};

QTEST_GUILESS_MAIN(DiskSpaceTest)
#include "DiskSpaceTest.moc"
