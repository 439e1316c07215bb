#include "Desktop.h"

namespace {

QString onMacOS(bool is3x, bool isMono)
{
    const QString platform = is3x ? QStringLiteral("osx.universal") : QStringLiteral("macos.universal");
    return (isMono ? QStringLiteral("mono_") : QString()) + platform;
}

/// Plain builds have a dot before the processor, .NET builds an underscore. No .NET build of the 3.x line
/// exists for arm64: a name is still formed, and the checksum list has no entry for it.
QString onLinux(bool is3x, bool isMono, Desktop::Processor processor)
{
    const QString separator = isMono ? QStringLiteral("_") : QStringLiteral(".");
    QString platform;
    if (processor == Desktop::Processor::Arm64)
        platform = QStringLiteral("linux") + separator + QStringLiteral("arm64");
    else if (is3x)
        platform = QStringLiteral("x11") + separator + QStringLiteral("64");
    else
        platform = QStringLiteral("linux") + separator + QStringLiteral("x86_64");
    return (isMono ? QStringLiteral("mono_") : QString()) + platform;
}

}

QString Desktop::engineArchiveEnding(qint64 majorLine, bool isMono) const
{
    const bool is3x = majorLine < 4;
    const QString build = system == System::MacOS ? onMacOS(is3x, isMono) : onLinux(is3x, isMono, processor);
    return build + QStringLiteral(".zip");
}
