#include "ImportedFiles.h"

#include "FolderWalk.h"
#include "ProjectFile.h"
#include "TextLines.h"

#include <QFile>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int mostEntries = 200'000;
constexpr std::chrono::seconds longestLook { 10 };
constexpr qint64 longestImportFile = 1024 * 1024; // those of large models list every part
constexpr qint64 mostImportText = 32 * 1024 * 1024;

struct Entry {
    QByteArray name;
    struct stat status = {};
};

/// What follows after a folder was seen.
enum class Then { EnterFolders, LeaveFolders, GiveUp };

/// Calls `see` with each folder below `project`, itself included: with the walk that is in it, its path
/// (empty, or ending in "/") and its entries. Returns whether everything was seen.
template <typename See> bool forEachFolder(const QString &project, const std::stop_token &stop, See see)
{
    const Clock::time_point end = Clock::now() + longestLook;
    int left = mostEntries;
    FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
    if (walk.begin(QFile::encodeName(project), FolderWalk::Start::NotThroughLink) != 0)
        return false;

    struct Level {
        QByteArray path;
        QList<QByteArray> folders; // still to be entered
    };
    std::vector<Level> levels;
    const auto seeThis = [&](const QByteArray &path) {
        QList<QByteArray> names;
        if (walk.list(names) != 0)
            return false;
        QList<Entry> entries;
        Level level { path, {} };
        for (const QByteArray &name : std::as_const(names)) {
            Entry entry { name };
            if (--left < 0 || Clock::now() > end || stop.stop_requested()
                || walk.inspect(name, entry.status) != 0)
                return false;
            if (S_ISDIR(entry.status.st_mode))
                level.folders.append(name);
            entries.append(std::move(entry));
        }
        const Then then = see(walk, path, entries);
        if (then == Then::LeaveFolders)
            level.folders.clear();
        levels.push_back(std::move(level));
        return then != Then::GiveUp;
    };

    if (!seeThis({}))
        return false;
    while (!levels.empty()) {
        Level &level = levels.back();
        if (level.folders.isEmpty()) {
            levels.pop_back();
            if (walk.leave() != 0)
                return false;
            continue;
        }
        const QByteArray name = level.folders.takeLast();
        const QByteArray path = level.path + name + '/';
        if (walk.enter(name) != 0 || !seeThis(path))
            return false;
    }
    return true;
}

/// The content of the file `name` in the folder that `walk` is in; no value unless it is a plain file of at
/// most `longest` bytes.
std::optional<QByteArray> contentOf(const FolderWalk &walk, const QByteArray &name, qint64 longest)
{
    FileDescriptor file;
    struct stat status = {};
    if (walk.openFile(name, file) != 0 || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)
        || status.st_size > longest)
        return std::nullopt;
    // One byte more than there should be: the file may be growing.
    QByteArray content(static_cast<qsizetype>(status.st_size) + 1, Qt::Uninitialized);
    qsizetype size = 0;
    while (size < content.size()) {
        const ssize_t count
            = ::read(file.get(), content.data() + size, static_cast<size_t>(content.size() - size));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        size += count;
    }
    if (size == content.size())
        return std::nullopt;
    content.truncate(size);
    return content;
}

/// The path below the project that "res://…" stands for; empty when it is no such path.
QByteArray pathBelowProject(const QString &resource)
{
    constexpr QStringView scheme = u"res://";
    if (!resource.startsWith(scheme))
        return {};
    const QString path = resource.sliced(scheme.size());
    const auto leadsNowhere
        = [](const QString &part) { return part.isEmpty() || part == u"." || part == u".."; };
    const QStringList parts = path.split(u'/');
    return std::none_of(parts.begin(), parts.end(), leadsNowhere) ? path.toUtf8() : QByteArray();
}

/// Adds the files that the *.import file with the content `text` names to `files`. Returns false when it says
/// something that this reader does not understand.
bool addImportedFiles(QByteArrayView text, QSet<QByteArray> &files)
{
    QByteArrayView section;
    bool isUnderstood = true;
    const auto readLine = [&](QByteArrayView line) {
        if (line.startsWith('[') && line.endsWith(']')) {
            section = line;
            return true;
        }
        // "path.s3tc" and others are variants for some graphics cards.
        const bool isPath = section == "[remap]" && (line.startsWith("path=") || line.startsWith("path."));
        const bool isList = section == "[deps]" && line.startsWith("dest_files=");
        if (!isPath && !isList)
            return true;
        const QStringList resources = quoted(line);
        isUnderstood = !line.contains('\\') && line.endsWith(isList ? ']' : '"')
            && line.count('"') == 2 * resources.size() && (isList || resources.size() == 1);
        for (const QString &resource : resources) {
            const QByteArray path = pathBelowProject(resource);
            isUnderstood = isUnderstood && !path.isEmpty();
            files.insert(path);
        }
        return isUnderstood;
    };
    TextLines::forEachUntil(text, readLine, longestImportFile);
    return isUnderstood;
}

constexpr QByteArrayView importSuffix = ".import";

/// Whether every engine imports files with such a name.
bool isImportable(const QByteArray &name)
{
    constexpr std::array<QByteArrayView, 16> endings
        = { ".png", ".jpg", ".jpeg", ".webp", ".svg", ".bmp",  ".tga", ".hdr",
            ".wav", ".ogg", ".csv",  ".obj",  ".dae", ".gltf", ".glb", ".exr" };
    const QByteArray lower = name.toLower();
    return std::any_of(endings.begin(), endings.end(),
                       [&lower](QByteArrayView ending) { return lower.endsWith(ending); });
}

/// Whether the engine ignores the folder: hidden ones, those that say so, and projects in the project.
bool isIgnored(const QByteArray &path, const QSet<QByteArray> &names)
{
    if (path.isEmpty())
        return false;
    const qsizetype start = path.lastIndexOf('/', -2) + 1;
    return path.at(start) == '.' || names.contains(".gdignore") || names.contains("project.godot");
}

/// The imported files that the project's *.import files name; no value when in doubt.
std::optional<QSet<QByteArray>> namedFiles(const QString &project, const std::stop_token &stop)
{
    QSet<QByteArray> files;
    qint64 left = mostImportText;
    const auto see = [&](const FolderWalk &walk, const QByteArray &path, const QList<Entry> &entries) {
        QSet<QByteArray> names;
        for (const Entry &entry : entries)
            names.insert(entry.name);
        if (isIgnored(path, names))
            return Then::LeaveFolders;
        for (const Entry &entry : entries) {
            if (!S_ISREG(entry.status.st_mode))
                continue;
            if (isImportable(entry.name) && !names.contains(entry.name + importSuffix.toByteArray()))
                return Then::GiveUp;
            if (!entry.name.endsWith(importSuffix))
                continue;
            const auto text = contentOf(walk, entry.name, std::min(longestImportFile, left));
            if (!text || !addImportedFiles(*text, files))
                return Then::GiveUp;
            left -= text->size();
        }
        return Then::EnterFolders;
    };
    return forEachFolder(project, stop, see) ? std::optional(files) : std::nullopt;
}

/// Everything about an entry that changes with it.
quint64 markOf(const QByteArray &path, const Entry &entry)
{
    const struct stat &status = entry.status;
#ifdef Q_OS_MACOS
    const timespec changed = status.st_ctimespec;
#else
    const timespec changed = status.st_ctim;
#endif
    return qHashMulti(0, path, entry.name, quint64(status.st_ino), quint64(status.st_mode),
                      qint64(status.st_size), qint64(changed.tv_sec), qint64(changed.tv_nsec));
}

}

std::optional<quint64> ImportedFiles::fingerprint(const QString &project, const std::stop_token &stop)
{
    // A sum, because folders list their entries in any order.
    quint64 sum = 0;
    const auto see = [&sum](const FolderWalk &, const QByteArray &path, const QList<Entry> &entries) {
        for (const Entry &entry : entries)
            sum += markOf(path, entry);
        return Then::EnterFolders;
    };
    return forEachFolder(project, stop, see) ? std::optional(sum) : std::nullopt;
}

bool ImportedFiles::areComplete(const QString &project, const std::stop_token &stop)
{
    const std::optional<QSet<QByteArray>> named = namedFiles(project, stop);
    if (!named || named->isEmpty())
        return false;
    QSet<QByteArray> missing = *named;
    const auto see = [&missing](const FolderWalk &, const QByteArray &path, const QList<Entry> &entries) {
        for (const Entry &entry : entries) {
            if (S_ISREG(entry.status.st_mode))
                missing.remove(path + entry.name);
        }
        return Then::EnterFolders;
    };
    return forEachFolder(project, stop, see) && missing.isEmpty();
}
