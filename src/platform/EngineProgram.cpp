#include "Desktop.h"

#include <QDirIterator>
#include <QFileInfo>

namespace {

/// The names of the entries of `folder`, in the file system's order. Empty when it cannot be listed.
QStringList entryNames(const QString &folder)
{
    QStringList names;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        entries.next();
        names.append(entries.fileName());
    }
    return names;
}

QString joined(const QString &folder, const QString &name) { return folder + QLatin1Char('/') + name; }

/// Whether the current user can run `path`. A folder has the execute bit too, but is no program.
bool isProgram(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() && info.isExecutable();
}

/// The program of the first application bundle that has one. The bundle may have any name.
std::optional<QString> inBundle(const QString &engineFolder)
{
    for (const QString &entry : entryNames(engineFolder)) {
        if (!entry.endsWith(QLatin1StringView(".app")))
            continue;
        const QString programFolder = joined(engineFolder, entry) + QStringLiteral("/Contents/MacOS");
        const QStringList programs = entryNames(programFolder);
        if (programs.isEmpty())
            continue;
        const QString name = QStringLiteral("Godot");
        const QString candidate = joined(programFolder, programs.contains(name) ? name : programs.first());
        if (isProgram(candidate))
            return candidate;
    }
    return std::nullopt;
}

/// The program directly in `folder`, named like its archive: "Godot_v4.3-stable_linux.x86_64".
std::optional<QString> programIn(const QString &folder)
{
    for (const QString &entry : entryNames(folder)) {
        const QString candidate = joined(folder, entry);
        if (entry.startsWith(QLatin1StringView("Godot_v")) && isProgram(candidate))
            return candidate;
    }
    return std::nullopt;
}

/// A plain build is a single file at the top; a .NET build is a folder with the program and its libraries.
std::optional<QString> atTheTopOrInItsFolder(const QString &engineFolder)
{
    if (const auto program = programIn(engineFolder))
        return program;
    for (const QString &entry : entryNames(engineFolder)) {
        const QString folder = joined(engineFolder, entry);
        if (!entry.startsWith(QLatin1StringView("Godot_v")) || !QFileInfo(folder).isDir())
            continue;
        if (const auto program = programIn(folder))
            return program;
    }
    return std::nullopt;
}

}

std::optional<QString> Desktop::engineProgram(const QString &engineFolder) const
{
    return system == System::MacOS ? inBundle(engineFolder) : atTheTopOrInItsFolder(engineFolder);
}
