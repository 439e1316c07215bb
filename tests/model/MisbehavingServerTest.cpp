// Whatever a server does during one of the three transfers: the player reads one sentence within bounded
// time, "Temp" is left empty, and what was installed stays unchanged.

#include "Rows.h"
#include "ScriptedHost.h"
#include "Texts.h"
#include "TransferTesting.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

enum class Connection { Plain, Secure, SelfSigned, Expired, OfAnotherHost };
enum class Sound { Loud, Silent };

/// One way in which a server, or something in between, can misbehave, and the sentence that the player then
/// reads. "(…)" in a sentence stands for a reason in the TLS library's words.
struct Misbehaviour {
    const char *name = nullptr;
    HttpReply reply = {};
    QString forGame = {};
    QString forList = {};
    QString forEngine = {};
    /// Silent: only the silence limit ends the transfer.
    Sound sound = Sound::Loud;
    Connection connection = Connection::Plain;
    /// Newer versions of libcurl notice it themselves: then the connection was lost.
    bool mayCountAsLost = false;
};

/// The limit for a body in these tests, in bytes.
constexpr qint64 ceiling = 8'000'000;

const QString timedOut = u"The request timed out."_s;
const QString lost = u"The connection was lost."_s;
const QString notUnderstood = u"The server's answer could not be understood."_s;
const QString tooLarge = u"The file is larger than expected."_s;
const QString tooManyRedirects = u"The server redirected too many times."_s;
const QString unsafeRedirect = u"The server redirected to an unsafe address."_s;
const QString insecure = u"A secure connection to the server could not be made (…)."_s;

/// What a captive portal serves instead of a file.
const QByteArray logInPage = "<!DOCTYPE html><html><title>Log in</title><form>Room and name</form></html>";
/// "hello", compressed with gzip.
const QByteArray gzipped = QByteArray::fromBase64("H4sIAAAAAAAAA8tIzcnJBwCGphA2BQAAAA==");

HttpReply ok(const QByteArrayList &headers = {}) { return HttpReply::head(200, headers); }
HttpReply announced() { return ok({ "Content-Length: 10000" }); }
HttpReply chunked() { return ok({ "Transfer-Encoding: chunked" }); }

QList<Misbehaviour> allMisbehaviours()
{
    const QString engineArchive = ScriptedHost::engine().fileName();
    QList<Misbehaviour> all;
    const auto broken = [&all](const char *name, const HttpReply &reply, const QString &sentence,
                               Sound sound = Sound::Loud, Connection connection = Connection::Plain) {
        const QString failed = u"Download failed: "_s + sentence;
        all.append({ name, reply, failed, sentence, failed, sound, connection });
    };
    const auto silent = [&broken](const char *name, const HttpReply &reply) {
        broken(name, reply, timedOut, Sound::Silent);
    };
    const auto refused = [&](const char *name, int status, const QByteArray &body = {}) {
        all.append({ name, HttpReply::status(status, body), Texts::refused(status), Texts::noList(status),
                     Texts::refused(status, engineArchive) });
    };
    const auto useless
        = [&](const char *name, const HttpReply &reply, Connection connection = Connection::Plain) {
              all.append({ name, reply, Texts::notUnpacked, Texts::notListed(engineArchive), Texts::noMatch,
                           Sound::Loud, connection });
          };

    silent("silence before the header", HttpReply().stall());
    silent("silence in the header", HttpReply().send("HTTP/1.1 200 OK\r\nContent-Le").stall());
    silent("silence after the header", announced().stall());
    silent("silence in the body", announced().send("some").stall());
    silent("silence in a chunk", chunked().send("100\r\nsome").stall());
    silent("silence before the last chunk", chunked().send("4\r\nsome\r\n").stall());
    silent("silence after a body without a length", ok().send("all").stall());

    silent("a header byte every half second", HttpReply().send("HTTP/1.1 2").sendForever("0", 500ms));
    silent("a body byte every half second", announced().sendForever("x", 500ms));
    silent("a byte of a chunk every half second", chunked().send("100\r\n").sendForever("x", 500ms));
    silent("a chunk's size without end", chunked().send("1;").sendForever("x", 10ms));

    broken("an endless header line",
           HttpReply().send("HTTP/1.1 200 OK\r\nX: ").sendForever("yyyyyyyyyyyyyyyy"), notUnderstood);
    broken("endless header lines", HttpReply().send("HTTP/1.1 200 OK\r\n").sendForever("X: y\r\n"),
           notUnderstood);
    broken("endless hints of a header", HttpReply().sendForever("HTTP/1.1 103 Early Hints\r\n\r\n"),
           notUnderstood);
    broken("endless trailers", chunked().send("1\r\nx\r\n0\r\n").sendForever("X: y\r\n"), notUnderstood);
    broken("an endless body", ok().sendForever(QByteArray(100'000, 'x')), tooLarge);
    broken("an endless body in chunks",
           chunked().sendForever("10000\r\n" + QByteArray(0x10000, 'x') + "\r\n"), tooLarge);
    broken("an endless log-in page", ok().sendForever(logInPage.repeated(1000)), tooLarge);
    broken("endless redirects", HttpReply::redirect("?again"), tooManyRedirects);
    broken("a redirect to a file", HttpReply::redirect("file:///etc/passwd"), unsafeRedirect);
    broken("a redirect to nowhere", HttpReply::redirect("http://"), notUnderstood);

    useless("a length that is too short", ok({ "Content-Length: 3" }).send("a whole file"));
    broken("a length that is too long", announced().send("a whole file"), lost);
    broken("a negative length", ok({ "Content-Length: -5" }).send("a file"), notUnderstood);
    broken("a length that is no number", ok({ "Content-Length: many" }).send("a file"), notUnderstood);
    broken("a giant length", ok({ "Content-Length: 8000000000001" }).stall(), tooLarge);
    broken("a length beyond all numbers", ok({ "Content-Length: 99999999999999999999999" }).stall(),
           tooLarge);
    useless("two different lengths", ok({ "Content-Length: 3", "Content-Length: 6" }).send("a file"));
    useless("one length twice", ok({ "Content-Length: 6", "Content-Length: 6" }).send("a file"));

    broken("a chunk without a size", chunked().send("zz\r\nabc\r\n0\r\n\r\n"), lost);
    broken("a chunk of a giant size", chunked().send("fffffffffffffffff\r\nabc"), lost);
    broken("a chunk that is cut", chunked().send("10\r\nabc"), lost);
    broken("a chunk without its end", chunked().send("3\r\nabcdefgh\r\n0\r\n\r\n"), lost);
    broken("chunks without the last", chunked().send("3\r\nabc\r\n"), lost);

    broken("closed without a word", HttpReply(), lost);
    broken("reset without a word", HttpReply().reset(), lost);
    broken("closed in the header", HttpReply().send("HTTP/1.1 200 OK\r\nContent-Le"), lost);
    broken("reset in the body", announced().send("some").pause(20ms).reset(), lost);
    broken("no HTTP at all", HttpReply().send("220 Mail is welcome.\r\n\r\n"), notUnderstood);

    useless("204, no content", HttpReply::head(204));
    useless("206, a part that nobody asked for",
            HttpReply::head(206, { "Content-Range: bytes 0-3/9", "Content-Length: 4" }).send("some"));
    refused("302 without an address", 302);
    refused("304, not modified", 304);
    refused("401, log in", 401, logInPage);
    refused("403, forbidden", 403);
    refused("404, not found", 404, logInPage);
    refused("416, no such range", 416);
    refused("429, too many requests", 429);
    refused("500, internal error", 500);
    refused("503, unavailable", 503);
    refused("511, log in to the network", 511, logInPage);

    useless("gzip unasked", ok({ "Content-Encoding: gzip" }).send(gzipped));
    useless("a coding that nobody knows", ok({ "Content-Encoding: x-secret" }).send(gzipped));
    useless("a log-in page", HttpReply::ok(logInPage));
    useless("an empty file", HttpReply::ok({}));

    const auto insecureFor = [&broken](const char *name, Connection connection) {
        broken(name, HttpReply::ok("a file"), insecure, Sound::Loud, connection);
    };
    insecureFor("a certificate that vouches for itself", Connection::SelfSigned);
    insecureFor("a certificate that has expired", Connection::Expired);
    insecureFor("a certificate of another host", Connection::OfAnotherHost);
    broken("TLS that is cut in the header", HttpReply().send("HTTP/1.1 200 OK\r\nConte").cut(), lost,
           Sound::Loud, Connection::Secure);
    broken("TLS that is cut in the body", announced().send("some").cut(), lost, Sound::Loud,
           Connection::Secure);
    broken("TLS that is cut in a chunk", chunked().send("10\r\nabc").cut(), lost, Sound::Loud,
           Connection::Secure);
    // Such a body looks complete; only a check of its content can tell.
    useless("TLS that is cut in a body without a length", ok().send("some").cut(), Connection::Secure);
    all.last().mayCountAsLost = true;
    broken("TLS that leads back to a plain server", HttpReply::redirect("http://127.0.0.1:9/"),
           unsafeRedirect, Sound::Loud, Connection::Secure);
    return all;
}

/// Which transfer the server misbehaves in.
enum class Transfer { FirstGame, Update, List, Engine };

}

class MisbehavingServerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TransferTesting::withoutProxies(); }

    void whatDoesNotArriveIsOneSentenceAndLeavesWhatIsThere_data()
    {
        const auto row = rows([this](Transfer transfer, const QString &path, const QString &sentence,
                                     const Misbehaviour &misbehaviour) {
            Player player;
            ScriptedHost host(player);
            const auto stranger = serverFor(misbehaviour.connection);
            TransferRules rules = TransferTesting::withoutPauses();
            rules.largestBody = ceiling;
            rules.trustedAuthorities = m_authority.certificate();
            if (misbehaviour.sound == Sound::Silent)
                rules.silence = 150ms;
            AppModel &model = player.startModel(rules);

            // A server with TLS is reached by a redirect, like the files of the real host.
            stranger->serve(path, misbehaviour.reply);
            host.server.serve(path,
                              misbehaviour.connection == Connection::Plain
                                  ? misbehaviour.reply
                                  : HttpReply::redirect(stranger->url(path).toEncoded()));

            // A game with content that none of the archives has.
            const QByteArray level = "the player's level";
            if (transfer != Transfer::FirstGame) {
                player.writeInstalled(u"level.tscn"_s, level);
                player.writeInstalled(u"project.godot"_s, ScriptedHost::project());
            }

            QElapsedTimer time;
            time.start();
            QVERIFY(player.complete(transfer == Transfer::Update ? &AppModel::updateGame : &AppModel::play));
            QVERIFY2(time.elapsed() < longest, QByteArray::number(time.elapsed()).constData());
            QString pattern = QRegularExpression::escape(sentence);
            pattern.replace(QRegularExpression::escape(u"…"_s), u"[^()\\n]+"_s);
            if (misbehaviour.mayCountAsLost)
                pattern += u"|(?:Download failed: )?"_s + QRegularExpression::escape(lost);
            player.verifyFailure(pattern);
            QTRY_COMPARE(host.server.openConnections() + stranger->openConnections(), 0);

            const QDir game(Paths::gameFolder());
            if (transfer == Transfer::FirstGame) {
                QVERIFY(!game.exists());
            } else {
                QCOMPARE(player.home.list(game.path()), QStringList({ u"level.tscn"_s, u"project.godot"_s }));
                QCOMPARE(player.home.read(game.filePath(u"level.tscn"_s)), level);
                QCOMPARE(player.home.read(game.filePath(u"project.godot"_s)), ScriptedHost::project());
            }
            QVERIFY(!QFileInfo::exists(Paths::engineFolder()));
            if (transfer == Transfer::List)
                QCOMPARE(host.server.requestCount(ScriptedHost::enginePath()), 0);
            if (sentence != Texts::notUnpacked)
                QVERIFY(!model.log.lines->contains(Texts::unpackingGame));
            QVERIFY(!model.log.lines->contains(Texts::unpackingEngine));
        });
        const QString game = ScriptedHost::gamePath();
        for (const Misbehaviour &each : allMisbehaviours()) {
            const auto add = [&](const char *transferName, Transfer transfer, const QString &path,
                                 const QString &sentence) {
                row((transferName + QByteArray(each.name)).constData(), transfer, path, sentence, each);
            };
            add("the first game: ", Transfer::FirstGame, game, each.forGame);
            add("an update: ", Transfer::Update, game, each.forGame);
            add("the list: ", Transfer::List, ScriptedHost::listPath(), each.forList);
            add("the engine: ", Transfer::Engine, ScriptedHost::enginePath(), each.forEngine);
        }
    }
    void whatDoesNotArriveIsOneSentenceAndLeavesWhatIsThere() { runRow(); }

private:
    std::unique_ptr<HttpServer> serverFor(Connection connection) const
    {
        TestIdentity identity;
        if (connection == Connection::Secure)
            identity = m_authority.issue();
        else if (connection == Connection::SelfSigned)
            identity = TestAuthority::selfSigned();
        else if (connection == Connection::Expired)
            identity = m_authority.issue("localhost", TestAuthority::Validity::Expired);
        else if (connection == Connection::OfAnotherHost)
            identity = m_authority.issue("elsewhere.invalid");
        return std::make_unique<HttpServer>(identity);
    }

    static constexpr qint64 longest = 10'000; // milliseconds; generous, for busy machines
    const TestAuthority m_authority;
};

QTEST_GUILESS_MAIN(MisbehavingServerTest)
#include "MisbehavingServerTest.moc"
