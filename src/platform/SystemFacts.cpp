#include "SystemFacts.h"

#include <QGuiApplication>
#include <QSysInfo>

SystemFacts SystemFacts::current()
{
    return { .qtVersion = QLatin1StringView(qVersion()),
             .system = QSysInfo::prettyProductName(),
             .kernel = QSysInfo::kernelType() + u' ' + QSysInfo::kernelVersion(),
             .processor = QSysInfo::currentCpuArchitecture(),
             .desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP"),
             .session = qEnvironmentVariable("XDG_SESSION_TYPE"),
             .windowSystem = QGuiApplication::platformName() };
}
