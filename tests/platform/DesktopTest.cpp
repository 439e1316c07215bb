#include "Desktop.h"

#include "Table.h"
#include "TestHome.h"

#include <QProcess>

using namespace Qt::StringLiterals;
using System = Desktop::System;

class DesktopTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everySystemHasItsTools_data()
    {
        const auto row = table<System, QString, QString, QString>("system", "unpackTool", "archiveCheckTool",
                                                                  "quarantineTool");
        const QString own = QCoreApplication::applicationDirPath() + u"/vantor-unpack"_s;
        row("macOS, where our own program checks what ditto unpacks", System::MacOS, u"/usr/bin/ditto"_s, own,
            u"/usr/bin/xattr"_s);
        row("Linux, which has no quarantine", System::Linux, own, {}, {});
    }

    void everySystemHasItsTools()
    {
        QFETCH(System, system);
        const Desktop desktop = Desktop::describing(system);
        QCOMPARE(desktop.system, system);
        QTEST(desktop.unpackTool, "unpackTool");
        QTEST(desktop.archiveCheckTool, "archiveCheckTool");
        QTEST(desktop.quarantineTool, "quarantineTool");
    }

    void theUnpackerIsFound_data()
    {
        const auto row = table<QStringList, QString>("unpackers", "found");
        const QString beside = u"usr/bin/vantor-unpack"_s;
        const QString installed = u"usr/libexec/vantor-platformer/vantor-unpack"_s;
        row("installed in the libexec folder", { installed }, installed);
        row("beside the program rather than installed", { installed, beside }, beside);
        row("beside the program if there is none", {}, beside);
    }

    /// Runs a copy of this program that prints which unpacker it would use.
    void theUnpackerIsFound()
    {
        QFETCH(QStringList, unpackers);
        QFETCH(QString, found);
        const TestHome home;
        for (const QString &unpacker : unpackers)
            home.write(unpacker, "tool");
        QDir().mkpath(home.filePath(u"usr/bin"_s));
        const QString copy = home.filePath(u"usr/bin/asks"_s);
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), copy));
        QProcess process;
        process.start(copy, { u"--ask"_s });
        QVERIFY(process.waitForFinished());
        QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()), home.filePath(found));
    }

    void aDesktopThatATestChoseIsTheCurrentOneUntilItIsTakenBack()
    {
        const Desktop before = Desktop::current();
        Desktop chosen = Desktop::describing(System::MacOS);
        chosen.unpackTool = u"/somewhere/else"_s;
        Desktop::use(chosen);
        QCOMPARE(Desktop::current().system, System::MacOS);
        QCOMPARE(Desktop::current().unpackTool, u"/somewhere/else"_s);

        Desktop::use(std::nullopt);
        QCOMPARE(Desktop::current().system, before.system);
        QCOMPARE(Desktop::current().unpackTool, before.unpackTool);
    }
};

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], "--ask") == 0) {
        // Before there is a QCoreApplication, as in a program that asks this early.
        fputs(qUtf8Printable(Desktop::describing(System::Linux).unpackTool), stdout);
        return 0;
    }
    QCoreApplication application(argc, argv);
    DesktopTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "DesktopTest.moc"
