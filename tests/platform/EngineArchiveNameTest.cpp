#include "Desktop.h"

#include "Table.h"

using Processor = Desktop::Processor;
using System = Desktop::System;

class EngineArchiveNameTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyBuildIsNamedAsItsReleaseNamesIt_data()
    {
        const auto row = table<System, Processor, qint64, bool, QByteArray>("system", "processor", "line",
                                                                            "isMono", "ending");
        const auto x86 = Processor::X86_64;
        const auto arm = Processor::Arm64;
        row("macOS 4", System::MacOS, arm, 4, false, "macos.universal.zip");
        row("macOS 4 .NET", System::MacOS, arm, 4, true, "mono_macos.universal.zip");
        row("macOS 3", System::MacOS, x86, 3, false, "osx.universal.zip");
        row("macOS 3 .NET", System::MacOS, x86, 3, true, "mono_osx.universal.zip");
        row("macOS below zero", System::MacOS, x86, -1, false, "osx.universal.zip");
        row("macOS 5", System::MacOS, x86, 5, false, "macos.universal.zip");
        row("Linux 4", System::Linux, x86, 4, false, "linux.x86_64.zip");
        row("Linux 4 .NET", System::Linux, x86, 4, true, "mono_linux_x86_64.zip");
        row("Linux 4 arm64", System::Linux, arm, 4, false, "linux.arm64.zip");
        row("Linux 4 arm64 .NET", System::Linux, arm, 4, true, "mono_linux_arm64.zip");
        row("Linux 3", System::Linux, x86, 3, false, "x11.64.zip");
        row("Linux 3 .NET", System::Linux, x86, 3, true, "mono_x11_64.zip");
        row("Linux 3 arm64", System::Linux, arm, 3, false, "linux.arm64.zip");
        row("Linux 3 arm64 .NET, which no release has", System::Linux, arm, 3, true, "mono_linux_arm64.zip");
    }

    void everyBuildIsNamedAsItsReleaseNamesIt()
    {
        QFETCH(System, system);
        QFETCH(Processor, processor);
        QFETCH(qint64, line);
        QFETCH(bool, isMono);
        Desktop desktop = Desktop::describing(system);
        desktop.processor = processor;
        QTEST(desktop.engineArchiveEnding(line, isMono).toLatin1(), "ending");
    }
};

QTEST_GUILESS_MAIN(EngineArchiveNameTest)
#include "EngineArchiveNameTest.moc"
