#include "AppError.h"
#include "DownloadScene.h"
#include "EngineManager.h"
#include "FileError.h"
#include "FileSizeText.h"
#include "LocalCodeHost.h"
#include "RepoDownloader.h"
#include "SmallDisk.h"
#include "Table.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <set>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

namespace {

/// Lines of the log, with the place in bytes.
QString lost(qint64 place, int seconds = 1)
{
    return u"The connection was lost at %1; trying again in %2."_s.arg(
        fileSizeText(place), seconds == 1 ? u"1 second"_s : u"%1 seconds"_s.arg(seconds));
}

QString lostAltogether(qint64 place) { return lost(place).chopped(1) + u", from the beginning."_s; }

QString notContinued(qint64 place)
{
    return u"The download could not be continued at %1; starting again from the beginning."_s.arg(
        fileSizeText(place));
}

const QString lostSentence = u"Download failed: The connection was lost."_s;
const QString timedOutSentence = u"Download failed: The request timed out."_s;

}

/// Downloads over bad connections, from tools/code-host.
class ResumeTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { withoutProxies(); }

    void init()
    {
        m_home.emplace();
        m_home->write(u"game/project.godot"_s, "config_version=5\n");
        m_home->write(u"game/noise"_s, someBytes(200'000));
        m_engine = m_home->write(u"engine"_s, someBytes(engineSize));
        m_home->setMode(u"engine"_s, 0700);
        m_home->write(u"downloads/other"_s, "other");
        m_rules = withoutPauses();
        m_log.clear();
        m_events.clear();
        m_sizes.clear();
    }

    void cleanup()
    {
        m_host.reset();
        m_home.reset();
    }

    void aConnectionThatIsCutAtTwentyPlacesCostsNoByteTwice_data()
    {
        const auto row = table<bool>("isSecure");
        row("plain", false);
        row("over TLS", true);
    }

    void aConnectionThatIsCutAtTwentyPlacesCostsNoByteTwice()
    {
        QFETCH(bool, isSecure);
        const quint32 seed = QRandomGenerator::system()->generate();
        qInfo("The seed is %u.", seed);
        QRandomGenerator random(seed);
        std::set<qint64> places;
        while (places.size() < 20)
            places.insert(random.bounded(1, int(engineSize)));
        QStringList texts;
        QStringList lines;
        for (const qint64 place : places) {
            texts << QString::number(place);
            lines << lost(place);
        }

        startHost({ u"--cut"_s, texts.join(u',') }, isSecure);
        QCOMPARE(failure(), QString());
        verifyWhole();
        QCOMPARE(log(), lines);
        // The progress never goes back, and always knows the whole size.
        const auto events = progress();
        QVERIFY(std::ranges::is_sorted(events, {}, &DownloadProgress::received));
        const qint64 size = QFileInfo(destination()).size();
        QVERIFY(std::ranges::all_of(events, [size](const auto &event) { return event.total == size; }));
        QCOMPARE(events.last().received, size);
        QCOMPARE(m_sizes, QList<qint64>(21, size));
    }

    void aBadConnectionIsSurvivedOrEndsInASentence_data()
    {
        const auto row = table<QStringList, QStringList, QString>("options", "lines", "sentence");
        constexpr qint64 place = 1'000'000;
        const auto answer = [&row](const char *name, const QString &answered, const QStringList &lines,
                                   const QString &sentence = {}) {
            row(name, { u"--cut"_s, u"1000000"_s, u"--answer-ranges-with"_s, answered },
                QStringList(lost(place)) + lines, sentence);
        };
        answer("a file that has a new tag", u"new-tag"_s, { notContinued(place) });
        answer("another tag", u"other-tag"_s, { notContinued(place) });
        answer("another length", u"other-length"_s, { notContinued(place) });
        answer("another place", u"other-place"_s, { notContinued(place) });
        answer("ranges that are ignored", u"whole"_s, { notContinued(place) });
        answer("ranges that are refused", u"416"_s, { notContinued(place) });
        const QString unavailable = u"The server answered with error 503 for %1."_s.arg(archive());
        answer("a server that gives up", u"503"_s, {}, unavailable);
        answer("a server that says when to come back", u"503-retry-after"_s, {}, unavailable);

        row("cut again and again", { u"--cut-every"_s, u"1000000"_s },
            { lost(place), lost(2 * place), lost(3 * place) }, {});
        row("addresses that expire", { u"--one-time-addresses"_s, u"--cut"_s, u"1000000,2000000"_s },
            { lost(place), lost(2 * place) }, {});
        row("a stall", { u"--stall"_s, u"--cut"_s, u"1000000,2000000"_s }, { lost(place), lost(2 * place) },
            {});
        row("cut before a byte has come", { u"--cut-every"_s, u"0"_s }, {}, lostSentence);
        row("cut without another byte", { u"--cut"_s, u"1000000"_s, u"--cut-every"_s, u"0"_s },
            { lost(place), lost(place), lost(place) }, lostSentence);
        row("stalled without another byte",
            { u"--stall"_s, u"--cut"_s, u"1000000"_s, u"--cut-every"_s, u"0"_s },
            { lost(place), lost(place), lost(place) }, timedOutSentence);
        row("begun anew each time", { u"--cut-every"_s, u"1000000"_s, u"--answer-ranges-with"_s, u"whole"_s },
            { lost(place), notContinued(place), lost(place), notContinued(place), lost(place) },
            lostSentence);
    }

    void aBadConnectionIsSurvivedOrEndsInASentence()
    {
        QFETCH(QStringList, options);
        m_rules.silence = 1s;
        startHost(options);
        QTEST(failure(), "sentence");
        QTEST(log(), "lines");
        if (failed())
            QCOMPARE(files(), QStringList { u"other"_s });
        else
            verifyWhole();
    }

    void anArchiveWithoutLengthAndTagIsBegunAgainTwice_data()
    {
        const auto row = table<QString, QStringList, QString>("places", "lines", "sentence");
        const QString again = lostAltogether(100'000);
        row("cut once", u"100000"_s, { again }, {});
        row("cut twice", u"100000,100000"_s, { again, again }, {});
        row("cut three times", u"100000,100000,100000"_s, { again, again }, lostSentence);
    }

    void anArchiveWithoutLengthAndTagIsBegunAgainTwice()
    {
        QFETCH(QString, places);
        startHost();
        const QUrl before = RepoDownloader::zipURL();
        QCOMPARE(failureOf(before), QString());
        const QByteArray whole = contentOf(destination());

        startHost({ u"--cut"_s, places });
        QTEST(failureOf(RepoDownloader::zipURL()), "sentence");
        QTEST(log(), "lines");
        if (!failed())
            QVERIFY(contentOf(destination()) == whole);
    }

    void aPlayersPausesAreOneTwoAndFourSeconds()
    {
        startHost({ u"--cut"_s, u"1000000"_s, u"--cut-every"_s, u"0"_s });
        m_rules = {};
        QElapsedTimer time;
        time.start();
        QCOMPARE(failure(), lostSentence);
        QCOMPARE(log(), QStringList({ lost(1'000'000, 1), lost(1'000'000, 2), lost(1'000'000, 4) }));
        QCOMPARE_GE(time.elapsed(), 6500); // Qt's coarse timers are up to 5% early
        QCOMPARE_LT(time.elapsed(), 12'000);
    }

    void aServerThatIsGoneAfterTheCutIsTriedThreeTimes()
    {
        startHost({ u"--cut"_s, u"1000000"_s });
        m_rules.pauses = { 300ms, 1ms, 1ms };
        const auto downloader = this->downloader(archiveURL());
        auto task = downloader->start();
        QTRY_COMPARE(log().size(), 1);
        m_host.reset();
        const auto error = Tasks::failure<AppError>(std::move(task));
        QVERIFY(error);
        QCOMPARE(error->errorDescription(), u"Download failed: Could not connect to the server."_s);
        QCOMPARE(log().size(), 3);
        QCOMPARE(files(), QStringList { u"other"_s });
    }

    void aCancelEndsThePauseAtOnce_data()
    {
        const auto row = table<bool>("byStop");
        row("by its owner", false);
        row("by a stop", true);
    }

    void aCancelEndsThePauseAtOnce()
    {
        QFETCH(bool, byStop);
        startHost({ u"--cut"_s, u"1000000"_s });
        m_rules.pauses = { 1h };
        const auto downloader = this->downloader(archiveURL());
        std::stop_source stop;
        auto task = downloader->start(stop.get_token());
        QTRY_COMPARE(log().size(), 1);
        QCOMPARE(files(), QStringList({ archive() + u".part"_s, u"other"_s }));
        endsAtOnce(std::move(task), [&] { byStop ? void(stop.request_stop()) : downloader->cancel(); });
        QCOMPARE(files(), QStringList { u"other"_s });
    }

    void aSpeedIsMeasuredAfreshAfterAPause_data()
    {
        const auto row = table<QStringList>("options");
        row("where the file was", {});
        row("from the beginning", { u"--answer-ranges-with"_s, u"whole"_s });
    }

    void aSpeedIsMeasuredAfreshAfterAPause()
    {
        QFETCH(QStringList, options);
        startHost(QStringList { u"--cut"_s, u"1000000"_s, u"--slow"_s, u"1500000"_s } + options);
        m_rules.pauses = { 700ms };
        QCOMPARE(failure(), QString());
        const auto events = progress();
        QVERIFY(std::ranges::all_of(events, [](const auto &event) { return event.bytesPerSecond >= 0; }));
        const auto pause = std::ranges::find_if(events, [](const auto &event) {
            return event.received == 1'000'000 && event.bytesPerSecond == 0;
        });
        QVERIFY(std::distance(pause, events.end()) > 1);
        QVERIFY(std::prev(pause)->bytesPerSecond > 0);
        // Neither the last speed, nor one over the time of the pause.
        QCOMPARE_LT(std::next(pause)->bytesPerSecond, 300'000);
        QVERIFY(events.last().bytesPerSecond > 0);
    }

    void aDiskThatFillsUpLaterIsAFileErrorAndLeavesNothing()
    {
        const SmallDisk disk(m_home->filePath(u"downloads"_s), "size=1500k");
        if (!disk.isMounted())
            QSKIP("Only the superuser can mount the disk that this needs.");
        startHost({ u"--cut"_s, u"1000000"_s });
        const auto error = Tasks::failure<FileError>(downloader(archiveURL())->start());
        QVERIFY(error);
        QCOMPARE(error->code(), ENOSPC);
        QCOMPARE(log(), QStringList { lost(1'000'000) });
        QCOMPARE(files(), QStringList());
    }

    void aPartThatSomebodyShortensIsBegunAgain()
    {
        startHost({ u"--cut"_s, u"1000000"_s });
        m_rules.pauses = { 300ms, 1ms, 1ms };
        auto task = downloader(archiveURL())->start();
        QTRY_COMPARE(log().size(), 1);
        QVERIFY(QFile::resize(destination() + u".part"_s, 999'999));
        Tasks::finish(std::move(task));
        QCOMPARE(log(), QStringList({ lost(1'000'000), notContinued(1'000'000) }));
        verifyWhole();
    }

    void whoeverMindsTheSizeEndsTheDownload_data()
    {
        const auto row = table<int, QStringList>("transfer", "lines");
        row("in the first transfer", 1, {});
        row("in the second", 2, { lost(1'000'000) });
    }

    void whoeverMindsTheSizeEndsTheDownload()
    {
        QFETCH(int, transfer);
        startHost({ u"--cut"_s, u"1000000"_s });
        m_mindsTransfer = transfer;
        QCOMPARE(failure(), u"Too large."_s);
        m_mindsTransfer = 0;
        QTEST(log(), "lines");
        QCOMPARE(m_sizes.size(), transfer);
        QCOMPARE(files(), QStringList { u"other"_s });
    }

private:
    static constexpr qint64 engineSize = 3'000'000;
    static EngineSpec spec() { return { 4, u"4.6"_s, false }; }
    static QString archive() { return spec().fileName(); }
    static QUrl archiveURL() { return QUrl(spec().baseURL() + archive()); }

    QString destination() const { return m_home->filePath(u"downloads/"_s + archive()); }
    QStringList files() const { return filesIn(m_home->filePath(u"downloads"_s)); }

    void startHost(const QStringList &options = {}, bool isSecure = false)
    {
        QStringList all = options;
        if (isSecure) {
            const TestIdentity identity = m_authority.issue();
            all << u"--certificate"_s
                << m_home->write(u"certificate.pem"_s, identity.certificate + identity.key);
            m_rules.trustedAuthorities = m_authority.certificate();
        }
        m_host.reset();
        m_host.emplace(m_home->filePath(u"game"_s), m_engine, all);
        m_log.clear();
    }

    std::shared_ptr<FileDownloader> downloader(const QUrl &url)
    {
        FileDownloader::Callbacks callbacks;
        callbacks.onProgress = [this](DownloadProgress progress) {
            const std::lock_guard guard(m_lock);
            m_events.append(progress);
        };
        callbacks.onExpectedSize = [this](qint64 size) {
            m_sizes.append(size);
            if (m_sizes.size() == m_mindsTransfer)
                throw AppError::message(u"Too large."_s);
        };
        callbacks.onRetry = [this](const QString &line) {
            const std::lock_guard guard(m_lock);
            m_log.append(line);
        };
        return std::make_shared<FileDownloader>(url, destination(), callbacks, m_rules);
    }

    QString failure() { return failureOf(archiveURL()); }

    /// The sentence that downloading `url` fails with, empty when it does not fail.
    QString failureOf(const QUrl &url)
    {
        const auto error = Tasks::failure<AppError>(downloader(url)->start());
        m_failed = error.has_value();
        return error ? error->errorDescription() : QString();
    }

    bool failed() const { return m_failed; }

    /// Verifies that the archive is the one in the code host's own list.
    void verifyWhole()
    {
        QCOMPARE(files(), QStringList({ archive(), u"other"_s }));
        const QUrl list(spec().baseURL() + u"SHA512-SUMS.txt"_s);
        QCOMPARE(EngineManager::sha512(destination()),
                 Tasks::finish(EngineManager::expectedChecksum(list, archive(), {}, m_rules)));
    }

    QStringList log()
    {
        const std::lock_guard guard(m_lock);
        return m_log;
    }

    QList<DownloadProgress> progress()
    {
        const std::lock_guard guard(m_lock);
        return m_events;
    }

    std::optional<TestHome> m_home;
    std::optional<LocalCodeHost> m_host;
    const TestAuthority m_authority;
    QString m_engine;
    TransferRules m_rules;
    bool m_failed = false;
    int m_mindsTransfer = 0;
    QList<qint64> m_sizes; // belongs to the transfer's thread until the download has ended
    std::mutex m_lock;
    QStringList m_log;
    QList<DownloadProgress> m_events;
};

QTEST_GUILESS_MAIN(ResumeTest)
#include "ResumeTest.moc"
