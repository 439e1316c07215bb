// What an endless response may cost: 64 MB of memory and, on the disk, as much as a download may have.

#include "DirectorySize.h"
#include "ScriptedHost.h"
#include "Strain.h"

#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr qint64 oneMB = 1'000'000;
constexpr qint64 ceiling = 200 * oneMB;

}

class DownloadFootprintTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (!Strain::isMeasurable())
            QSKIP("A sanitizer takes memory of its own.");
        if (!QFile::exists(u"/proc/self/clear_refs"_s))
            QSKIP("This system does not tell the peak of a program's memory.");
    }

    void whatNeverEndsStaysSmall_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<HttpReply>("reply");
        QTest::addColumn<qint64>("disk");

        const QByteArray page = "<html><title>Log in</title></html>";
        const HttpReply body = HttpReply::head(200).sendForever(QByteArray(100'000, 'x'));
        const HttpReply logIn = HttpReply::head(200).sendForever(page.repeated(3000));
        const HttpReply lines
            = HttpReply().send("HTTP/1.1 200 OK\r\n").sendForever(QByteArray("X: y\r\n").repeated(9999));
        const HttpReply line
            = HttpReply().send("HTTP/1.1 200 OK\r\nX: ").sendForever(QByteArray(100'000, 'y'));
        const HttpReply giant = HttpReply::head(200, { "Content-Length: 199999999" }).sendForever("x", 500ms);
        const HttpReply refusal = HttpReply::head(404).sendForever(QByteArray(100'000, 'x'));

        const auto rows = [&](const char *transfer, const QString &path, qint64 disk) {
            const auto row = [&](const char *what, const HttpReply &reply, qint64 most) {
                QTest::addRow("%s, %s", transfer, what) << path << reply << most;
            };
            row("an endless body", body, disk);
            row("an endless log-in page", logIn, disk);
            row("endless header lines", lines, 0);
            row("an endless header line", line, 0);
            row("a giant length and a drip", giant, oneMB);
            row("an endless refusal", refusal, 0);
        };
        rows("the game", ScriptedHost::gamePath(), ceiling);
        rows("the list", ScriptedHost::listPath(), 0);
        rows("the engine", ScriptedHost::enginePath(), ceiling);
    }

    void whatNeverEndsStaysSmall()
    {
        QFETCH(QString, path);
        QFETCH(HttpReply, reply);
        QFETCH(qint64, disk);
        Player player;
        ScriptedHost host(player);
        host.server.serve(path, reply);
        if (path != ScriptedHost::gamePath())
            player.writeInstalled(u"project.godot"_s, ScriptedHost::project());
        TransferRules rules;
        rules.largestBody = ceiling;
        rules.silence = 1s;
        verifyFootprint(player, rules, 0s, { 64 * oneMB, disk });
    }

    void aWindowThatStandsStillDuringAFloodOfReportsStaysSmall()
    {
        Player player;
        ScriptedHost host(player);
        // Every chunk, however small, causes a progress report.
        host.server.serve(ScriptedHost::gamePath(),
                          HttpReply::head(200, { "Transfer-Encoding: chunked" })
                              .sendForever(QByteArray("1\r\nx\r\n").repeated(10'000)));
        TransferRules rules;
        rules.largestBody = oneMB / 2;
        // Queued reports would take some 70 bytes each, 34 MB together.
        verifyFootprint(player, rules, 1s, { 4 * oneMB, oneMB });
    }

private:
    struct Footprint {
        qint64 memory = 0;
        qint64 disk = 0;
    };

    /// Plays until the download has failed, and verifies that it cost no more than `most`. Blocks the main
    /// thread for `pause` meanwhile.
    static void verifyFootprint(Player &player, const TransferRules &rules, std::chrono::seconds pause,
                                const Footprint &most)
    {
        AppModel &model = player.startModel(rules);
        qint64 largest = 0;
        const Strain strain;
        model.play();
        QVERIFY(
            QTest::qWaitFor([&] { return !model.isWorking() || !model.progressDetail->isEmpty(); }, 30'000));
        std::this_thread::sleep_for(pause);
        QVERIFY(QTest::qWaitFor(
            [&] {
                largest = std::max(largest, directorySize(Paths::tempFolder()));
                return !model.isWorking();
            },
            30'000));
        const qint64 growth = strain.memoryGrowth();
        QVERIFY(player.hasFailed());
        QCOMPARE(Player::scratch(), QStringList());
        qInfo("%lld MB of memory, %lld MB on the disk: %s", growth / oneMB, largest / oneMB,
              qPrintable(*model.failureMessage.get()));
        QVERIFY2(growth <= most.memory, QByteArray::number(growth).constData());
        QVERIFY2(largest <= most.disk + oneMB, QByteArray::number(largest).constData());
    }
};

QTEST_GUILESS_MAIN(DownloadFootprintTest)
#include "DownloadFootprintTest.moc"
