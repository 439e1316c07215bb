#include "Desktop.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <pwd.h>
#include <unistd.h>

namespace {

bool isAbsolute(const QString &path) { return path.startsWith(QLatin1Char('/')); }

/// Empty when unknown. Not QDir::homePath(), which without $HOME returns the root of the file system.
QString ownHomeFolder()
{
    const QString named = QFile::decodeName(qgetenv("HOME"));
    if (isAbsolute(named))
        return QDir::cleanPath(named);

    passwd entry = {};
    passwd *found = nullptr;
    QByteArray buffer(16 * 1024, Qt::Uninitialized);
    if (getpwuid_r(getuid(), &entry, buffer.data(), static_cast<size_t>(buffer.size()), &found) != 0
        || !found)
        return QString();
    const QString listed = QFile::decodeName(found->pw_dir);
    return isAbsolute(listed) ? QDir::cleanPath(listed) : QString();
}

/// The folder in `parent` whose name equals `name` except in letter case; no value when there is none.
std::optional<QString> folderInOtherLetterCase(const QString &parent, const QString &name)
{
    const QStringList folders
        = QDir(parent).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    // Prefer the engine's own spelling.
    if (folders.contains(name.toLower()))
        return name.toLower();
    for (const QString &folder : folders) {
        if (folder.compare(name, Qt::CaseInsensitive) == 0)
            return folder;
    }
    return std::nullopt;
}

}

QString Desktop::homeFolder()
{
    const QString home = ownHomeFolder();
    return home.isEmpty() ? QDir::rootPath() : home;
}

QStringList Desktop::applicationSupportFolders() const
{
    const QString home = ownHomeFolder();
    if (system == System::MacOS)
        return home.isEmpty()
            ? QStringList()
            : QStringList(QDir(home).filePath(QStringLiteral("Library/Application Support")));

    const QString dataHome = QFile::decodeName(qgetenv("XDG_DATA_HOME"));
    if (isAbsolute(dataHome))
        return { QDir::cleanPath(dataHome) };
    return home.isEmpty() ? QStringList() : QStringList(QDir(home).filePath(QStringLiteral(".local/share")));
}

QString Desktop::engineDataFolder(const QString &applicationSupport) const
{
    const QString name = QStringLiteral("Godot");
    const QDir parent(applicationSupport);
    if (system == System::Linux && !QFileInfo(parent.filePath(name)).isDir()) {
        if (const auto other = folderInOtherLetterCase(applicationSupport, name))
            return parent.filePath(*other);
    }
    return parent.filePath(name);
}
