#include "Report.h"

#include "Redaction.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const Identity ada { .homeFolders = { u"/home/ada"_s }, .userName = u"ada"_s, .hostName = u"workbench"_s };

QString textOf(const Report &report) { return QString::fromUtf8(report.text(Redaction(ada))); }

QStringList linesOf(const Report &report) { return textOf(report).split(u'\n'); }

}

class ReportTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFactStandsUnderItsHeading()
    {
        Report report;
        report.time = QDateTime(QDate(2026, 11, 21), QTime(23, 5, 9), Qt::UTC);
        report.launcherVersion = u"0.1.0"_s;
        report.system = { .qtVersion = u"6.4.2"_s,
                          .system = u"Debian GNU/Linux 12 (bookworm)"_s,
                          .kernel = u"linux 6.1.0"_s,
                          .processor = u"x86_64"_s,
                          .desktop = u"ubuntu:GNOME"_s,
                          .session = u"wayland"_s,
                          .windowSystem = u"xcb"_s };
        report.engine = EngineSpec { 4, u"4.6"_s, true };
        report.isEngineInstalled = true;
        report.isGameDownloaded = true;
        report.isGameImported = false;
        report.game = ProjectInfo { .root = {},
                                    .name = u"Hill Run"_s,
                                    .configVersion = 5,
                                    .features = { u"4.6"_s, u"Mobile"_s },
                                    .mainScene = u"res://main.tscn"_s,
                                    .isCSharp = true,
                                    .blurb = u"Run."_s,
                                    .licenseName = u"MIT License"_s,
                                    .author = u"Eve Hill"_s,
                                    .controls = { u"Space: jump"_s, u"A: left"_s },
                                    .controlsFromReadme = true };
        report.fullscreen = true;
        report.resolution = u"1280x720"_s;
        report.folder = u"/home/ada/.local/share/Vantor Platformer"_s;
        report.freeSpace = 12'300'000'000;
        report.failure = u"“/home/ada” could not be removed."_s;
        report.log = QStringList { u"one"_s, QString(), u"three in /home/ada/x"_s };

        QCOMPARE(textOf(report), uR"(Vantor Platformer report
Saved: 2026-11-21 23:05:09 UTC
The home folder is written as ~. What was left out is marked <user>, <computer> or <removed>.
The launcher has sent this file to nobody. Please look through it before you pass it on.

Versions
--------
Launcher: 0.1.0
Qt: 6.4.2
System: Debian GNU/Linux 12 (bookworm)
Kernel: linux 6.1.0
Processor: x86_64
Desktop: ubuntu:GNOME
Session: wayland
Window system: xcb
Engine: Godot 4.6 (.NET)
Engine installed: yes

Game
----
Downloaded: yes
Imported: no
Name: Hill Run
Description: Run.
Author: Eve Hill
Licence: MIT License
Project format: 5
Features: 4.6, Mobile
Main scene: res://main.tscn
Uses C#: yes
Controls: Space: jump; A: left

Settings
--------
Fullscreen: yes
Window size: 1280x720

Disk
----
Launcher's folder: ~/.local/share/Vantor Platformer
Free space: 12.3 GB (12300000000 bytes)

Failure
-------
Shown: “~” could not be removed.

Log (3 lines)
-------------
one

three in ~/x
)"_s);
    }

    void whatIsUnknownIsCalledSo()
    {
        const QStringList lines = linesOf(Report());
        for (const QString &name :
             { u"Saved"_s, u"Launcher"_s, u"Qt"_s, u"System"_s, u"Kernel"_s, u"Processor"_s, u"Desktop"_s,
               u"Session"_s, u"Window system"_s, u"Engine"_s, u"Engine installed"_s, u"Downloaded"_s,
               u"Imported"_s, u"Window size"_s, u"Launcher's folder"_s, u"Free space"_s })
            QVERIFY2(lines.contains(name + u": unknown"_s), qPrintable(name));
        QVERIFY(lines.contains(u"Fullscreen: no"_s));
        QVERIFY(lines.contains(u"Shown: nothing"_s));
        QVERIFY(lines.contains(u"Log (0 lines)"_s));

        Report report;
        report.log = QStringList(u"one"_s);
        QVERIFY(linesOf(report).contains(u"Log (1 line)"_s));
        report.game = ProjectInfo();
        for (const QString &name : { u"Description"_s, u"Author"_s, u"Licence"_s, u"Project format"_s,
                                     u"Features"_s, u"Main scene"_s, u"Controls"_s })
            QVERIFY2(linesOf(report).contains(name + u": unknown"_s), qPrintable(name));
    }

    void noFactTakesTheFormOfAnother()
    {
        Report report;
        report.game = ProjectInfo();
        report.game->name = u"x\n\nLog\r---\nFree space: 1\u2028\u001b[31mred"_s;
        QVERIFY(linesOf(report).contains(u"Name: x  Log\u240d--- Free space: 1\u2424red"_s));
    }

    void everythingIsRedacted()
    {
        Report report;
        const QString telling = u"/home/ada ada@workbench https://h/?token=abc"_s;
        report.launcherVersion = report.resolution = report.folder = telling;
        report.system = { telling, telling, telling, telling, telling, telling, telling };
        report.engine = EngineSpec { 4, telling, false };
        report.failure = telling;
        report.game = ProjectInfo { .root = telling,
                                    .name = telling,
                                    .configVersion = 5,
                                    .features = { telling },
                                    .mainScene = telling,
                                    .isCSharp = false,
                                    .blurb = telling,
                                    .licenseName = telling,
                                    .author = telling,
                                    .controls = { telling },
                                    .controlsFromReadme = false };
        report.log = QStringList { telling, u"\u001b[1m"_s + telling };
        const QString text = textOf(report);
        QVERIFY(text.count(u"~ <user>@<computer> https://h/?token=<removed>"_s) > 17);
        for (const QString &word : { u"ada"_s, u"workbench"_s, u"abc"_s, u"\u001b"_s })
            QVERIFY2(!text.contains(word), qPrintable(word));
    }
};

QTEST_GUILESS_MAIN(ReportTest)
#include "ReportTest.moc"
