// The report that the model writes, read from the file.

#include "OrdinaryUser.h"
#include "Player.h"
#include "SmallDisk.h"
#include "Tasks.h"

#include <QSysInfo>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString name = u"report.txt"_s;
const QString saved = u"The report was saved as “report.txt”."_s;

/// What follows "`fact`: " in the report.
QString value(const QByteArray &report, const QString &fact)
{
    const QStringList lines = QString::fromUtf8(report).split(u'\n');
    for (const QString &line : lines) {
        if (line.startsWith(fact + u": "_s))
            return line.sliced(fact.size() + 2);
    }
    return u"(missing)"_s;
}

/// Saves a report and returns the notice.
QString save(const Player &player, const QString &file)
{
    player.model->notice = std::nullopt;
    player.model->saveReport(file);
    if (!player.waitFor([&player] { return player.model->notice->has_value(); }))
        return u"(no notice)"_s;
    return player.model->notice->value_or(QString());
}

}

class SaveReportTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aReportSaysWhatIsInstalledAndHoldsTheWholeLog()
    {
        Player player;
        player.preferences.setFullscreen(true);
        player.preferences.setResolution(u"1600x900"_s);
        AppModel &model = player.startInstalled();
        for (int line = 0; line < LogStore::maxLines; ++line)
            model.log.append(u"line %1 of %2/x"_s.arg(line).arg(player.home.path()));
        model.failureMessage = u"It failed."_s;

        QCOMPARE(save(player, player.home.filePath(name)), saved);
        const QByteArray report = player.home.read(name);
        QCOMPARE(value(report, u"Qt"_s), QLatin1StringView(qVersion()));
        QVERIFY(value(report, u"Kernel"_s).endsWith(QSysInfo::kernelVersion()));
        QVERIFY(value(report, u"Launcher"_s).contains(u'.'));
        QCOMPARE(value(report, u"Engine"_s), u"Godot 4.6"_s);
        QCOMPARE(value(report, u"Engine installed"_s), u"yes"_s);
        QCOMPARE(value(report, u"Downloaded"_s), u"yes"_s);
        QCOMPARE(value(report, u"Imported"_s), u"yes"_s);
        QCOMPARE(value(report, u"Name"_s), u"Hill Run"_s);
        QCOMPARE(value(report, u"Fullscreen"_s), u"yes"_s);
        QCOMPARE(value(report, u"Window size"_s), u"1600x900"_s);
        QCOMPARE(value(report, u"Launcher's folder"_s), u"~/data/Vantor Platformer"_s);
        QVERIFY(QRegularExpression(u"^[\\d.]+ \\w+ \\(\\d+ bytes\\)$"_s)
                    .match(value(report, u"Free space"_s))
                    .hasMatch());
        QCOMPARE(value(report, u"Shown"_s), u"It failed."_s);
        QVERIFY(report.contains("\nline 0 of ~/x\n"));
        QVERIFY(report.endsWith("\nline 2999 of ~/x\n"));
        QVERIFY(!report.contains(player.home.path().toUtf8()));
    }

    void aReportBeforeTheFirstDownloadSaysSo()
    {
        Player player;
        player.startModel();
        QCOMPARE(save(player, player.home.filePath(name)), saved);
        const QByteArray report = player.home.read(name);
        QCOMPARE(value(report, u"Engine"_s), u"unknown"_s);
        QCOMPARE(value(report, u"Engine installed"_s), u"unknown"_s);
        QCOMPARE(value(report, u"Downloaded"_s), u"no"_s);
        QCOMPARE(value(report, u"Shown"_s), u"nothing"_s);
        QVERIFY(report.contains("Log (0 lines)\n"));
        QVERIFY(!QFileInfo::exists(Paths::root())); // a report creates nothing else
    }

    void anEngineThatIsMissingIsCalledSo()
    {
        Player player;
        player.startInstalled();
        QVERIFY(QDir(Paths::engineFolder()).removeRecursively());
        QCOMPARE(save(player, player.home.filePath(name)), saved);
        QCOMPARE(value(player.home.read(name), u"Engine installed"_s), u"no"_s);
    }

    void theHomeFolderIsRecognisedThroughALink()
    {
        Player player;
        player.home.link(u"link"_s, player.home.path());
        qputenv("HOME", player.home.bytes(u"link"_s));
        player.startModel();
        player.model->log.append(player.home.filePath(u"link/x"_s));
        player.model->log.append(player.home.filePath(u"y"_s));
        QCOMPARE(save(player, player.home.filePath(name)), saved);
        QVERIFY(player.home.read(name).endsWith("\n~/x\n~/y\n"));
    }

    void anOlderReportIsReplaced()
    {
        Player player;
        player.startModel();
        player.home.write(name, "an older report");
        QCOMPARE(save(player, player.home.filePath(name)), saved);
        QVERIFY(player.home.read(name).startsWith("Vantor Platformer report\n"));
        QCOMPARE(player.home.list().filter(u".write"_s), QStringList());
    }

    void aReportThatCannotBeWrittenIsOneSentenceAndHarmsNothing_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("sentence");
        QTest::newRow("no folder") << u"missing/report.txt"_s
                                   << u"“report.txt” could not be written: No such file or directory."_s;
        QTest::newRow("a folder") << u"folder"_s << u"“folder” could not be written: Is a directory."_s;
        QTest::newRow("read-only") << u"old.txt"_s << u"“old.txt” could not be written: Permission denied."_s;
        QTest::newRow("a full disk") << u"disk/report.txt"_s
                                     << u"“report.txt” could not be written: No space left on device."_s;
    }

    void aReportThatCannotBeWrittenIsOneSentenceAndHarmsNothing()
    {
        QFETCH(const QString, file);
        QFETCH(const QString, sentence);
        Player player;
        AppModel &model = player.startModel();
        QVERIFY(QDir().mkpath(player.home.filePath(u"folder"_s)));
        player.home.write(u"old.txt"_s, "mine");
        player.home.setMode(u"old.txt"_s, 0400);
        const SmallDisk disk(player.home.filePath(u"disk"_s), "size=64k");
        if (file.startsWith(u"disk"_s) && !disk.isMounted())
            QSKIP("Only the superuser can make a small disk.");
        for (int line = 0; line < 100; ++line)
            model.log.append(QString(10000, u'x'));

        QCOMPARE(save(player, player.home.filePath(file)), sentence);
        QCOMPARE(player.home.read(u"old.txt"_s), "mine");
        QCOMPARE(player.home.list(u"disk"_s), QStringList());
        // The next try succeeds.
        QCOMPARE(save(player, player.home.filePath(name)), saved);
    }

    void theWindowStaysAliveWhileALargeReportIsWritten()
    {
        Player player;
        AppModel &model = player.startModel();
        QStringList lines;
        for (int line = 0; line < 60; ++line)
            lines << u"/home/ad"_s.repeated(8 * 1024);
        model.log.lines = lines;
        QElapsedTimer timer;
        timer.start();
        model.saveReport(player.home.filePath(name));
        QVERIFY(timer.elapsed() < 500);
        QVERIFY(!model.notice->has_value());
        QVERIFY(player.waitFor([&model] { return model.notice->has_value(); }));
        QCOMPARE(model.notice->value_or(QString()), saved);
    }

    void quittingWaitsForTheReport()
    {
        Player player;
        AppModel &model = player.startModel();
        for (int line = 0; line < 100; ++line)
            model.log.append(QString(10000, u'/'));
        model.saveReport(player.home.filePath(u"one.txt"_s));
        model.saveReport(player.home.filePath(u"two.txt"_s));
        Tasks::finish(model.prepareToQuit());
        for (const QString &file : { u"one.txt"_s, u"two.txt"_s })
            QVERIFY(player.home.read(file).startsWith("Vantor Platformer report\n"));
        model.saveReport(player.home.filePath(name));
        QVERIFY(waitForBackground(std::chrono::seconds(10)));
        QVERIFY(!QFileInfo::exists(player.home.filePath(name)));
    }

    void nothingIsWrittenWithoutAName()
    {
        Player player;
        player.startModel().saveReport(QString());
        QTest::qWait(50);
        QVERIFY(!player.model->notice->has_value());
    }
};

QTEST_GUILESS_MAIN(SaveReportTest)
#include "SaveReportTest.moc"
