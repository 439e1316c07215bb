#include "Paths.h"

#include "Desktop.h"
#include "DiskNames.h"
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

QString Paths::root() { return applicationSupport(Desktop::current()) + u'/' + DiskNames::root; }

QString Paths::base() { return QFileInfo(root()).path(); }

QString Paths::godotData()
{
    const Desktop desktop = Desktop::current();
    return desktop.engineDataFolder(applicationSupport(desktop));
}

QString Paths::gameFolder() { return root() + u'/' + DiskNames::game; }

QString Paths::engineFolder() { return root() + u'/' + DiskNames::engines; }

QString Paths::tempFolder() { return root() + u'/' + DiskNames::temp; }

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
