#include "EngineManager.h"

#include "AppError.h"
#include "CancellationError.h"
#include "ChecksumList.h"
#include "Rows.h"
#include "Tasks.h"
#include "TransferError.h"
#include "http/HttpServer.h"
#include "http/LoopbackPort.h"

using namespace Qt::StringLiterals;

namespace {

const QString path = u"/SHA512-SUMS.txt"_s;
const QString name = u"Godot.zip"_s;

}

class ChecksumListTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_server = std::make_unique<HttpServer>(); }
    void cleanup() { m_server.reset(); }

    void theHashOfTheNamedFileIsFound_data()
    {
        // A null hash: there is no such line.
        const auto row = rows([](const QByteArray &list, const QByteArray &hash) {
            const auto found = ChecksumList::hash(QString::fromUtf8(list), name);
            QCOMPARE(found.has_value(), !hash.isNull());
            QCOMPARE(found.value_or(QString()), QString::fromUtf8(hash));
        });
        row("empty list", "", {});
        row("the tool's own form", "aaa  other.zip\nbbb  Godot.zip\n", "bbb");
        row("binary mark", "bbb *Godot.zip\n", "bbb");
        row("binary mark behind two blanks", "bbb  *Godot.zip\n", "bbb");
        row("marks anywhere in the name", "bbb **Go*dot.zip*\n", "bbb");
        row("a tab", "bbb\tGodot.zip\n", "bbb");
        row("tabs and blanks all over", " \t bbb \t  Godot.zip \t\n", "bbb");
        row("carriage returns", "aaa  other.zip\r\nbbb  Godot.zip\r\n", "bbb");
        row("carriage returns only", "aaa  other.zip\rbbb  Godot.zip\r", "bbb");
        row("no newline at the end", "bbb  Godot.zip", "bbb");
        row("another kind of newline",
            "aaa  other.zip\xe2\x80\xa8"
            "bbb  Godot.zip",
            "bbb");
        row("upper case stays", "BBB  Godot.zip\n", "BBB");
        row("twice: the first holds", "aaa  Godot.zip\nbbb  Godot.zip\n", "aaa");
        row("pieces between are ignored", "aaa one two  Godot.zip\n", "aaa");
        row("a line with the name only", "Godot.zip\nbbb  Godot.zip\n", "bbb");
        row("a line with a hash only", "aaa\nbbb  Godot.zip\n", "bbb");
        row("empty lines", "\n\n\nbbb  Godot.zip\n", "bbb");
        row("another letter case is another name", "bbb  godot.zip\n", {});
        row("a longer name", "bbb  Godot.zip.part\n", {});
        row("a name in a folder", "bbb  ./Godot.zip\n", {});
        row("the name in the middle", "bbb  Godot.zip more\n", {});
        row("other names only", "aaa  Godot.tar.xz\nbbb  Godot.apk\n", {});
        row("a page in place of the list", "<html><body>Not here</body></html>", {});
        row("a non-breaking space is no blank", "bbb\xc2\xa0Godot.zip\n", {});
    }
    void theHashOfTheNamedFileIsFound() { runRow(); }

    void theFilesHashIsReturnedAsItStandsInTheList_data()
    {
        const auto row = rows([this](const HttpReply &reply, const QString &hash) {
            m_server->serve(path, reply);
            m_server->serve(u"/elsewhere"_s, "def  Godot.zip\n");
            QCOMPARE(Tasks::finish(lookUp()), hash);
        });
        row("upper case", HttpReply::ok("aaa  other.zip\r\nABC *Godot.zip\r\n"), u"ABC"_s);
        row("bytes that are not UTF-8", HttpReply::ok("\xff\xfe  \x80.zip\nabc  Godot.zip\n"), u"abc"_s);
        row("another good status", HttpReply::status(203, "abc  Godot.zip\n"), u"abc"_s);
        row("a redirect is followed", HttpReply::redirect("/elsewhere"), u"def"_s);
    }
    void theFilesHashIsReturnedAsItStandsInTheList() { runRow(); }

    void aListThatDoesNotHelpIsAnErrorInASentence_data()
    {
        const auto row = rows([this](const HttpReply &reply, const QString &sentence) {
            m_server->serve(path, reply);
            const auto error = Tasks::failure<AppError>(lookUp());
            QVERIFY(error);
            QCOMPARE(error->errorDescription(), sentence);
        });
        row("no entry", HttpReply::ok("aaa  other.zip\n"),
            u"The official checksum list has no entry for Godot.zip."_s);
        for (const int status : { 300, 301, 302, 303, 304, 400, 403, 404, 429, 500, 503 })
            row(QByteArray::number(status).constData(), HttpReply::status(status),
                u"Could not get the checksum list (server error %1)."_s.arg(status));
    }
    void aListThatDoesNotHelpIsAnErrorInASentence() { runRow(); }

    void aTransferThatFailsIsPassedOn()
    {
        const RefusingPort port;
        QVERIFY(Tasks::failure<TransferError>(EngineManager::expectedChecksum(port.url(path), name)));
    }

    void aListWithoutAnEndIsRefused()
    {
        m_server->serve(path, HttpReply::head(200).sendForever(QByteArray(65536, 'a')));
        QVERIFY(Tasks::failure<TransferError>(lookUp()));
    }

    void aStopEndsTheWait()
    {
        m_server->serve(path, HttpReply::head(200).stall());
        std::stop_source stop;
        auto task = lookUp(stop.get_token());
        QTRY_COMPARE(m_server->requestCount(path), 1);
        stop.request_stop();
        QVERIFY(Tasks::failure<CancellationError>(std::move(task)));
    }

private:
    QCoro::Task<QString> lookUp(std::stop_token stop = {}) const
    {
        return EngineManager::expectedChecksum(m_server->url(path), name, std::move(stop));
    }

    std::unique_ptr<HttpServer> m_server;
};

QTEST_GUILESS_MAIN(ChecksumListTest)
#include "ChecksumListTest.moc"
