#include "DownloadScene.h"
#include "FileSizeText.h"
#include "LoopbackPort.h"

#include <QProcess>

#include <atomic>

using namespace Qt::StringLiterals;
using namespace TransferTesting;
using namespace std::chrono_literals;

/// nginx with TLS and HTTP/2, from the system's packages: a server that we did not write.
class Nginx final {
public:
    Nginx(QString program, const TestHome &home, const TestIdentity &identity)
        : m_program(std::move(program))
        , m_home(home)
    {
        home.write(u"nginx/certificate.pem"_s, identity.certificate);
        home.write(u"nginx/key.pem"_s, identity.key);
        QByteArray configuration = R"(
daemon off;
master_process off;
pid nginx.pid;
events {}
http {
    log_format protocol '$server_protocol $status $body_bytes_sent';
    access_log access.log protocol;
    client_body_temp_path body;
    proxy_temp_path proxy;
    fastcgi_temp_path fastcgi;
    uwsgi_temp_path uwsgi;
    scgi_temp_path scgi;
    server {
        listen 127.0.0.1:PORT ssl http2;
        ssl_certificate certificate.pem;
        ssl_certificate_key key.pem;
        root www;
        limit_rate 4m;
    }
}
)";
        configuration.replace("PORT", QByteArray::number(m_port));
        home.write(u"nginx/nginx.conf"_s, configuration);
        m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    }

    ~Nginx() { stop(); }

    /// The path of the program, empty where there is none.
    static QString program()
    {
        QProcess tool;
        tool.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        tool.start(QStringLiteral(TOOLS_FOLDER "/get-nginx"), {});
        tool.waitForFinished(120'000);
        return QString::fromLocal8Bit(tool.readAll()).trimmed();
    }

    QUrl url(const QString &path) const { return QUrl(u"https://localhost:%1%2"_s.arg(m_port).arg(path)); }

    void start()
    {
        const QString folder = m_home.filePath(u"nginx"_s);
        m_process.start(m_program, { u"-p"_s, folder, u"-c"_s, u"nginx.conf"_s, u"-e"_s, u"stderr"_s });
        if (!m_process.waitForStarted())
            qFatal("nginx did not start: %s", qPrintable(m_process.errorString()));
    }

    /// Closes every connection at once, in the middle of what it carries.
    void stop()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }

    /// A line for each request: the protocol, the status, the bytes sent.
    QByteArrayList requests() const { return m_home.read(u"nginx/access.log"_s).trimmed().split('\n'); }

private:
    const QString m_program;
    const TestHome &m_home;
    const quint16 m_port = LoopbackPort().port();
    QProcess m_process;
};

class NginxTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aDownloadSurvivesAServerThatIsStartedAnew()
    {
        const QString program = Nginx::program();
        if (program.isEmpty())
            QSKIP("There is no nginx here.");
        withoutProxies();
        const TestHome home;
        const TestAuthority authority;
        Nginx nginx(program, home, authority.issue());
        const QByteArray bytes = someBytes(3'000'000);
        home.write(u"nginx/www/file.zip"_s, bytes);
        nginx.start();

        TransferRules rules;
        rules.pauses = { 500ms, 500ms, 500ms, 500ms, 500ms, 500ms };
        rules.trustedAuthorities = authority.certificate();
        std::atomic<qint64> received = 0;
        std::atomic<int> resumed = 0;
        std::atomic<int> begunAgain = 0;
        FileDownloader::Callbacks callbacks;
        callbacks.onProgress = [&received](DownloadProgress progress) { received = progress.received; };
        callbacks.onRetry = [&resumed, &begunAgain](const QString &line) {
            ++(line.endsWith("beginning."_L1) ? begunAgain : resumed);
        };
        const QString destination = home.filePath(u"file.zip"_s);
        const QUrl url = nginx.url(u"/file.zip"_s);
        QTRY_VERIFY(!failure(nginx.url(u"/nothing"_s), rules).startsWith(u"Could not connect"_s));
        auto task = std::make_shared<FileDownloader>(url, destination, callbacks, rules)->start();
        for (const qint64 place : { 1'000'000, 2'000'000 }) {
            QTRY_VERIFY(received > place);
            nginx.stop();
            nginx.start();
        }
        QCOMPARE(Tasks::finish(std::move(task)), destination);
        QVERIFY(contentOf(destination) == bytes);
        QVERIFY(resumed >= 2);
        QCOMPARE(begunAgain.load(), 0);
        nginx.stop();
        const QByteArray lastRequest = nginx.requests().last();
        QVERIFY2(lastRequest.startsWith("HTTP/1.1 206 "), lastRequest.constData());
    }
};

QTEST_GUILESS_MAIN(NginxTest)
#include "NginxTest.moc"
