#include "InstallFixture.h"
#include "Rows.h"

#include <QProcess>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

const auto isALink = u"“Godot_v4.3-stable_linux.x86_64.zip” could not be opened: Too many levels of symbolic "
                     "links."_s;
const auto isNoFile = u"“Godot_v4.3-stable_linux.x86_64.zip” could not be opened: Invalid argument."_s;

const QByteArray writeTheSame = "cp $archive ~/good.zip; cat ~/good.zip > $archive";

/// `deed` as a shell script in which $archive is the path of the downloaded archive.
QByteArray onArchive(const QByteArray &deed)
{
    return "set -e; archive=$(ls ~/data/*/Temp/*/Godot_v4.3-stable_linux.x86_64.zip); IFS=; " + deed;
}

}

/// What is unpacked is the very file whose checksum matched, whatever happens to it on the disk meanwhile.
class VerifiedArchiveTest final : public QObject, private InstallFixture {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        begin();
        // It has the same size, so that only its content tells it apart.
        m_home->write(u"evil.zip"_s, linuxBuild("#!/bin/ev\n").bytes());
    }
    void cleanup() { end(); }

    void anArchiveThatIsExchangedIsNeverInstalled_data()
    {
        const auto row
            = rows([this](const QString &lastLine, const QByteArray &deed, const QString &sentence) {
                  bool done = false;
                  // willChange comes before a line is stored: this is the line after `lastLine`.
                  connect(m_log.get(), &Observable::willChange, this, [this, &done, lastLine, deed] {
                      if (done || m_log->lines->isEmpty() || !m_log->lines->last().startsWith(lastLine))
                          return;
                      done = true;
                      doToArchive(deed);
                  });
                  QCOMPARE(failure(), sentence);
                  QVERIFY(done);
                  nothingIsInstalled();
              });
        const QByteArray replace = "mv ~/evil.zip $archive";
        const QByteArray overwrite = "cat ~/evil.zip > $archive";
        const QByteArray link = "ln -sf ~/evil.zip $archive";
        const QByteArray linkItself = "mv $archive ~/good.zip; ln -s ~/good.zip $archive";
        row("replaced before the check", downloading, replace, doesNotMatch);
        row("overwritten before the check", downloading, overwrite, doesNotMatch);
        row("a link to another one before the check", downloading, link, isALink);
        row("a link to itself before the check", downloading, linkItself, isALink);
        row("a pipe before the check", downloading, "rm $archive; mkfifo $archive", isNoFile);
        row("replaced after the check", matches, replace, doesNotMatch);
        row("overwritten after the check", matches, overwrite, doesNotMatch);
        row("overwritten with its old time after the check", matches,
            "touch -r $archive ~/time; " + overwrite + "; touch -r ~/time $archive", doesNotMatch);
        row("a link to another one after the check", matches, link, doesNotMatch);
        row("a link to itself after the check", matches, linkItself, doesNotMatch);
        row("written anew after the check", matches, writeTheSame, doesNotMatch);
        row("removed after the check", matches, "rm $archive", doesNotMatch);
    }
    void anArchiveThatIsExchangedIsNeverInstalled() { runRow(); }

    void anArchiveThatIsWrittenAnewDuringTheCheckDoesNotMatch()
    {
        // The timer ends once the check has begun, and before its result arrives: both need the event loop.
        connect(m_log.get(), &Observable::willChange, this, [this] {
            if (!m_log->lines->isEmpty() && m_log->lines->last().startsWith(downloading))
                QTimer::singleShot(0, this, [] { doToArchive(writeTheSame); });
        });
        QCOMPARE(failure(), doesNotMatch);
        QCOMPARE(log().last(), checking);
        nothingIsInstalled();
    }

    void anArchiveThatIsExchangedWhileItIsUnpackedIsNeverInstalled_data()
    {
        const auto row = rows([this](const QByteArray &tool) {
            useUnpackScript(onArchive(tool));
            QCOMPARE(failure(), doesNotMatch);
            nothingIsInstalled();
        });
        row("replaced", "mv ~/evil.zip $archive; UNPACK");
        row("replaced and put back",
            "mv $archive ~/good.zip; cp ~/evil.zip $archive; UNPACK; mv ~/good.zip $archive");
        row("overwritten", "cat ~/evil.zip > $archive; UNPACK");
        row("overwritten and put back",
            "cp $archive ~/good.zip; cat ~/evil.zip > $archive; UNPACK; cat ~/good.zip > $archive");
        row("overwritten at the end", "UNPACK; cat ~/evil.zip > $archive");
    }
    void anArchiveThatIsExchangedWhileItIsUnpackedIsNeverInstalled() { runRow(); }

    /// The checked file itself never changes here, so it is the one that must be installed.
    void aFolderThatIsExchangedBringsNoOtherArchiveIn()
    {
        useUnpackScript(
            onArchive("temp=$(dirname $archive); mv $temp ~/aside; mkdir -p $temp; cp ~/evil.zip $archive\n"
                      "cp -r ~/aside/engine $temp; UNPACK; mv $temp ~/evil\n"
                      "mv ~/aside $temp; rmdir $temp/engine; mv ~/evil/engine $temp"));
        QCOMPARE(failure(), QString());
        QCOMPARE(installedProgram(), "#!/bin/sh\n");
    }

private:
    static void doToArchive(const QByteArray &deed)
    {
        QCOMPARE(QProcess::execute(u"/bin/sh"_s, { u"-c"_s, QString::fromUtf8(onArchive(deed)) }), 0);
    }
};

QTEST_GUILESS_MAIN(VerifiedArchiveTest)
#include "VerifiedArchiveTest.moc"
