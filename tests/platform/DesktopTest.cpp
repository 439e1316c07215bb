#include "Desktop.h"

#include "TestHome.h"

#include <QProcess>

using System = Desktop::System;

class DesktopTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void macOSUnpacksWithDittoAndClearsTheQuarantineWithXattr()
    {
        const Desktop desktop = Desktop::describing(System::MacOS);
        QCOMPARE(desktop.system, System::MacOS);
        QCOMPARE(desktop.unpackTool, QStringLiteral("/usr/bin/ditto"));
        QCOMPARE(desktop.quarantineTool, QStringLiteral("/usr/bin/xattr"));
    }

    void macOSHasOurOwnProgramCheckWhatDittoUnpacks()
    {
        QCOMPARE(Desktop::describing(System::MacOS).archiveCheckTool,
                 QCoreApplication::applicationDirPath() + QStringLiteral("/vantor-unpack"));
        QCOMPARE(Desktop::describing(System::Linux).archiveCheckTool, QString());
    }

    void linuxUnpacksWithOurOwnProgramAndHasNoQuarantine()
    {
        const Desktop desktop = Desktop::describing(System::Linux);
        QCOMPARE(desktop.system, System::Linux);
        QCOMPARE(desktop.unpackTool,
                 QCoreApplication::applicationDirPath() + QStringLiteral("/vantor-unpack"));
        QCOMPARE(desktop.quarantineTool, QString());
    }

    void anInstalledUnpackerIsFoundInTheLibexecFolder()
    {
        const TestHome home;
        const QString installed
            = home.write(QStringLiteral("usr/libexec/vantor-platformer/vantor-unpack"), "tool");
        const QString program = installCopyOfThisTest(home.filePath(QStringLiteral("usr/bin")));
        QCOMPARE(unpackToolSeenBy(program), installed);
    }

    void anUnpackerBesideTheProgramGoesBeforeAnInstalledOne()
    {
        const TestHome home;
        home.write(QStringLiteral("usr/libexec/vantor-platformer/vantor-unpack"), "tool");
        const QString beside = home.write(QStringLiteral("usr/bin/vantor-unpack"), "tool");
        const QString program = installCopyOfThisTest(home.filePath(QStringLiteral("usr/bin")));
        QCOMPARE(unpackToolSeenBy(program), beside);
    }

    void withoutAnyUnpackerTheOneBesideTheProgramIsNamed()
    {
        const TestHome home;
        const QString program = installCopyOfThisTest(home.filePath(QStringLiteral("usr/bin")));
        QCOMPARE(unpackToolSeenBy(program), home.filePath(QStringLiteral("usr/bin/vantor-unpack")));
    }

    void aDesktopThatATestChoseIsTheCurrentOneUntilItIsTakenBack()
    {
        const Desktop before = Desktop::current();
        Desktop chosen = Desktop::describing(System::MacOS);
        chosen.unpackTool = QStringLiteral("/somewhere/else");
        Desktop::use(chosen);
        QCOMPARE(Desktop::current().system, System::MacOS);
        QCOMPARE(Desktop::current().unpackTool, QStringLiteral("/somewhere/else"));

        Desktop::use(std::nullopt);
        QCOMPARE(Desktop::current().system, before.system);
        QCOMPARE(Desktop::current().unpackTool, before.unpackTool);
    }

private:
    /// Copies this test into `folder` and returns the copy's path. Called with "--ask", it prints which
    /// unpacker it would use.
    static QString installCopyOfThisTest(const QString &folder)
    {
        QDir().mkpath(folder);
        const QString program = folder + QStringLiteral("/asks");
        if (!QFile::copy(QCoreApplication::applicationFilePath(), program))
            qFatal("The test could not be copied.");
        return program;
    }

    static QString unpackToolSeenBy(const QString &program)
    {
        QProcess process;
        process.start(program, { QStringLiteral("--ask") });
        if (!process.waitForFinished())
            qFatal("The copy of the test did not end.");
        return QString::fromUtf8(process.readAllStandardOutput());
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
