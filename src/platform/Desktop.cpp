#include "Desktop.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSysInfo>

namespace {

std::optional<Desktop> &chosenByATest()
{
    static std::optional<Desktop> desktop;
    return desktop;
}

Desktop::System machineSystem()
{
#ifdef Q_OS_MACOS
    return Desktop::System::MacOS;
#else
    return Desktop::System::Linux;
#endif
}

Desktop::Processor machineProcessor()
{
    return QSysInfo::currentCpuArchitecture() == QLatin1StringView("arm64") ? Desktop::Processor::Arm64
                                                                            : Desktop::Processor::X86_64;
}

QString programFolder()
{
    if (QCoreApplication::instance())
        return QCoreApplication::applicationDirPath();
    return QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget()).path();
}

QString ownUnpackTool()
{
    const QString folder = programFolder();
    const QString beside = folder + QStringLiteral("/vantor-unpack");
    const QString installed = folder + QStringLiteral("/" INSTALLED_UNPACKER);
    // If neither exists, the launch fails and the log names the first.
    return !QFileInfo::exists(beside) && QFileInfo::exists(installed)
        ? QFileInfo(installed).canonicalFilePath()
        : beside;
}

}

Desktop Desktop::current() { return chosenByATest() ? *chosenByATest() : describing(machineSystem()); }

Desktop Desktop::describing(System system)
{
    Desktop desktop;
    desktop.system = system;
    desktop.processor = machineProcessor();
    if (system == System::MacOS) {
        desktop.unpackTool = QStringLiteral("/usr/bin/ditto");
        desktop.archiveCheckTool = ownUnpackTool();
        desktop.quarantineTool = QStringLiteral("/usr/bin/xattr");
    } else {
        desktop.unpackTool = ownUnpackTool();
    }
    return desktop;
}

void Desktop::use(std::optional<Desktop> desktop) { chosenByATest() = std::move(desktop); }
