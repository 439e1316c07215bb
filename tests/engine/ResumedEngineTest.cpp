#include "InstallFixture.h"
#include "Table.h"
#include "http/TransferTesting.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// An engine's archive that came in more than one transfer is verified as a whole.
class ResumedEngineTest final : public QObject, private InstallFixture {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        begin();
        m_engines = std::make_unique<EngineManager>(TransferTesting::withoutPauses());
        serve(linuxBuild());
    }
    void cleanup() { end(); }

    void aResumedArchiveIsInstalled_data()
    {
        const auto row = table<HttpReply>("begun");
        row("after a connection that was closed", begun());
        row("after a connection that was reset", begun().pause(50ms).reset());
    }

    void aResumedArchiveIsInstalled()
    {
        QFETCH(HttpReply, begun);
        m_server->serve(archivePath(), { begun, rest(m_archive.sliced(half())), HttpReply::status(500) });
        QCOMPARE(failure(), QString());
        QCOMPARE(installedProgram(), "#!/bin/sh\n");
        QCOMPARE(log().mid(2, 3), QStringList({ lost(), checking, matches }));
        QCOMPARE(m_server->requestCount(archivePath()), 2);
        nothingIsLeftInTemp();
    }

    void aResumedArchiveThatDoesNotMatchIsDownloadedOnceMore_data()
    {
        const auto row = table<QList<HttpReply>, QStringList, QString>("then", "lines", "sentence");
        const HttpReply whole = HttpReply::ok(m_archive);
        const HttpReply wrong = HttpReply::ok(QByteArray(m_archive.size(), 'x'));
        row("and is right", { whole }, { again, checking, matches }, {});
        row("and does not match either", { wrong, whole }, { again, checking }, doesNotMatch);
        row("and is not there any more", { HttpReply::status(404), whole }, { again },
            u"The server answered with error 404 for Godot_v4.3-stable_linux.x86_64.zip."_s);
        row("and is resumed once more", { begun(), rest(m_archive.sliced(half())), wrong },
            { again, lost(), checking, matches }, {});
        row("and is resumed once more, and does not match either",
            { begun(), rest(QByteArray(m_archive.size() - half(), 'x')), whole }, { again, lost(), checking },
            doesNotMatch);
    }

    void aResumedArchiveThatDoesNotMatchIsDownloadedOnceMore()
    {
        QFETCH(QList<HttpReply>, then);
        QFETCH(QStringList, lines);
        QFETCH(QString, sentence);
        const HttpReply damaged = rest(QByteArray(m_archive.size() - half(), 'x'));
        m_server->serve(archivePath(), QList<HttpReply> { begun(), damaged } + then);
        QCOMPARE(failure(), sentence);
        QCOMPARE(log().mid(2, 2), QStringList({ lost(), checking }));
        QCOMPARE(log().mid(4, lines.size()), lines);
        if (sentence.isEmpty())
            QCOMPARE(installedProgram(), "#!/bin/sh\n");
        else
            nothingIsInstalled();
        nothingIsLeftInTemp();
    }

    void anArchiveThatWasBegunAnewAndDoesNotMatchIsNotDownloadedAgain()
    {
        const HttpReply wrong = HttpReply::ok(QByteArray(m_archive.size(), 'x'));
        m_server->serve(archivePath(), { begun(), wrong, HttpReply::ok(m_archive) });
        QCOMPARE(failure(), doesNotMatch);
        QCOMPARE(m_server->requestCount(archivePath()), 2);
        QCOMPARE(log().last(), checking);
        nothingIsInstalled();
    }

private:
    const QString again
        = u"The resumed download did not match its official checksum; downloading it again from the beginning."_s;

    qsizetype half() const { return m_archive.size() / 2; }
    QByteArray length(qsizetype bytes) const { return "Content-Length: " + QByteArray::number(bytes); }

    QString lost() const
    {
        return u"The connection was lost at %1 bytes; trying again in 1 second."_s.arg(half());
    }

    /// The first half of the archive, as much as arrives.
    HttpReply begun() const
    {
        return HttpReply::head(200, { "ETag: \"a\"", length(m_archive.size()) })
            .send(m_archive.first(half()));
    }

    /// `bytes` as the second half of the archive.
    HttpReply rest(const QByteArray &bytes) const
    {
        return HttpReply::head(206,
                               { "ETag: \"a\"", length(bytes.size()),
                                 "Content-Range: bytes " + QByteArray::number(half()) + '-'
                                     + QByteArray::number(m_archive.size() - 1) + '/'
                                     + QByteArray::number(m_archive.size()) })
            .send(bytes);
    }

    const QByteArray m_archive = linuxBuild().bytes();
};

QTEST_GUILESS_MAIN(ResumedEngineTest)
#include "ResumedEngineTest.moc"
