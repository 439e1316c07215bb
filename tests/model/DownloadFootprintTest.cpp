// What an endless response may cost: 64 MB of memory and, on the disk, as much as a download may have.

#include "DirectorySize.h"
#include "Rows.h"
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
        const auto row = rows(
            [](const QString &path, const HttpReply &reply, qint64 largestBody, qint64 memory, qint64 disk) {
                Player player;
                ScriptedHost host(player);
                host.server.serve(path, reply);
                if (path != ScriptedHost::gamePath())
                    player.writeInstalled(u"project.godot"_s, ScriptedHost::project());
                TransferRules rules;
                rules.largestBody = largestBody;
                rules.silence = 1s;
                AppModel &model = player.startModel(rules);

                qint64 largest = 0;
                const Strain strain;
                model.play();
                if (largestBody < ceiling) {
                    QVERIFY(player.waitFor([&] { return !model.progressDetail->isEmpty(); }));
                    std::this_thread::sleep_for(1s);
                }
                QVERIFY(player.waitFor([&] {
                    largest = std::max(largest, directorySize(Paths::tempFolder()));
                    return !model.isWorking();
                }));
                const qint64 growth = strain.memoryGrowth();
                QVERIFY(player.hasFailed());
                QCOMPARE(Player::scratch(), QStringList());
                qInfo("%lld MB of memory, %lld MB on the disk: %s", growth / oneMB, largest / oneMB,
                      qPrintable(*model.failureMessage.get()));
                QVERIFY2(growth <= memory, QByteArray::number(growth).constData());
                QVERIFY2(largest <= disk + oneMB, QByteArray::number(largest).constData());
            });

        const auto send = [](const QByteArray &start, const QByteArray &then) {
            return HttpReply().send("HTTP/1.1 200 OK\r\n" + start).sendForever(then);
        };
        const auto rowsFor = [&](const QByteArray &transfer, const QString &path, qint64 disk) {
            const auto add = [&](const QByteArray &what, const HttpReply &reply, qint64 most) {
                row((transfer + ", " + what).constData(), path, reply, ceiling, 64 * oneMB, most);
            };
            add("an endless body", send("\r\n", QByteArray(100'000, 'x')), disk);
            add("an endless log-in page",
                send("\r\n", QByteArray("<html><title>Log in</title></html>").repeated(3000)), disk);
            add("endless header lines", send({}, QByteArray("X: y\r\n").repeated(9999)), 0);
            add("an endless header line", send("X: ", QByteArray(100'000, 'y')), 0);
            add("a giant length and a drip",
                HttpReply::head(200, { "Content-Length: 199999999" }).sendForever("x", 500ms), oneMB);
            add("an endless refusal", HttpReply::head(404).sendForever(QByteArray(100'000, 'x')), 0);
        };
        rowsFor("the game", ScriptedHost::gamePath(), ceiling);
        rowsFor("the list", ScriptedHost::listPath(), 0);
        rowsFor("the engine", ScriptedHost::enginePath(), ceiling);
        // Every chunk, however small, causes a progress report. Queued, they would take some 70 bytes each,
        // 34 MB together.
        row("a flood of reports while the window stands still", ScriptedHost::gamePath(),
            send("Transfer-Encoding: chunked\r\n\r\n", QByteArray("1\r\nx\r\n").repeated(10'000)), oneMB / 2,
            4 * oneMB, oneMB);
    }
    void whatNeverEndsStaysSmall() { runRow(); }
};

QTEST_GUILESS_MAIN(DownloadFootprintTest)
#include "DownloadFootprintTest.moc"
