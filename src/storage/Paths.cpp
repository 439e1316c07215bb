#include "Paths.h"

#include "Desktop.h"
#include "FileOperations.h"
#include "SymlinkGuard.h"

#include <QDir>
#include <QFileInfo>
#include <QUuid>

namespace {

QString applicationSupport(const Desktop &desktop)
{
    return Paths::applicationSupportBase(desktop.applicationSupportFolders(), Desktop::homeFolder());
}

}

QString Paths::root()
{
    return applicationSupport(Desktop::current()) + QStringLiteral("/Vantor Platformer");
}

QString Paths::base() { return QFileInfo(root()).path(); }

QString Paths::godotData()
{
    const Desktop desktop = Desktop::current();
    return desktop.engineDataFolder(applicationSupport(desktop));
}

QString Paths::gameFolder() { return root() + QStringLiteral("/Game"); }

QString Paths::engineFolder() { return root() + QStringLiteral("/Engine"); }

QString Paths::tempFolder() { return root() + QStringLiteral("/Temp"); }

QString Paths::newTempDir()
{
    SymlinkGuard::requireNoLinks();
    const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    const QString folder = tempFolder() + u'/' + name;
    FileOperations::createFolder(folder);
    return folder;
}

QString Paths::applicationSupportBase(const QStringList &reported, const QString &home)
{
    return reported.isEmpty() ? QDir(home).filePath(QStringLiteral("Library/Application Support"))
                              : reported.first();
}
