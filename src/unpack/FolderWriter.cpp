#include "FolderWriter.h"

#include "ErrnoText.h"
#include "MemberName.h"
#include "UnpackError.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace {

constexpr mode_t folderMode = 0755;
constexpr mode_t programMode = 0755;
constexpr mode_t fileMode = 0644;
constexpr int openFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

[[noreturn]] void fail(const std::string &name, const std::string &action)
{
    const int code = errno;
    throw UnpackError(inQuotes(name) + " could not be " + action + ": " + errnoText(code) + ".");
}

void setTime(int file, const std::string &name, std::time_t modified)
{
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = modified;
    if (futimens(file, times) != 0)
        fail(name, "given its time");
}

std::string folderOf(const std::string &name) { return name.substr(0, name.rfind('/') + 1); }
std::string lastPartOf(const std::string &name) { return name.substr(name.rfind('/') + 1); }

/// The names of all entries in the open folder; nothing, with the reason in errno, when it cannot be listed.
std::optional<std::vector<std::string>> namesIn(int folder)
{
    FileDescriptor again(openat(folder, ".", openFolder)); // for a read position of its own
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(again.isOpen() ? fdopendir(again.get()) : nullptr,
                                                       closedir);
    if (!listing)
        return std::nullopt;
    again.release(); // closed with the listing
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent *entry = readdir(listing.get());
        if (!entry)
            return errno == 0 ? std::optional(names) : std::nullopt;
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
}

}

FileDescriptor openEmptyFolder(const std::string &path)
{
    if (mkdir(path.c_str(), folderMode) != 0 && errno != EEXIST)
        fail(path, "created");
    FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen())
        fail(path, "opened");
    const auto names = namesIn(folder.get());
    if (!names)
        fail(path, "listed");
    if (!names->empty())
        throw UnpackError(inQuotes(path) + " is not an empty folder.");
    return folder;
}

void clearFolder(int folder)
{
    // Failures are ignored: the error to report is the one that led here.
    for (const std::string &name : namesIn(folder).value_or(std::vector<std::string>())) {
        if (unlinkat(folder, name.c_str(), 0) == 0)
            continue;
        const FileDescriptor below(openat(folder, name.c_str(), openFolder));
        if (below.isOpen())
            clearFolder(below.get());
        unlinkat(folder, name.c_str(), AT_REMOVEDIR);
    }
}

FolderWriter::FolderWriter(int root)
    : m_root(root)
{
}

void FolderWriter::makeFolder(const std::string &name) { folderAt(name + '/', Missing::Create); }

void FolderWriter::makeFolderOf(const std::string &name) { folderAt(folderOf(name), Missing::Create); }

FileDescriptor FolderWriter::createFile(const std::string &name, bool isProgram)
{
    FileDescriptor file(openat(folderAt(folderOf(name), Missing::Refuse), lastPartOf(name).c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                               isProgram ? programMode : fileMode));
    if (!file.isOpen())
        fail(name, "created");
    return file;
}

void FolderWriter::finishFile(const std::string &name, FileDescriptor file,
                              std::optional<std::time_t> modified)
{
    if (modified)
        setTime(file.get(), name, *modified);
    if (!file.close())
        fail(name, "written");
}

void FolderWriter::makeLink(const std::string &name, const std::string &target)
{
    if (symlinkat(target.c_str(), folderAt(folderOf(name), Missing::Refuse), lastPartOf(name).c_str()) != 0)
        fail(name, "created");
}

void FolderWriter::setFolderTime(const std::string &name, std::time_t modified)
{
    setTime(folderAt(name + '/', Missing::Refuse), name, modified);
}

int FolderWriter::folderAt(const std::string &name, Missing missing)
{
    if (name.empty())
        return m_root;
    if (m_latest.isOpen() && name == m_latestName)
        return m_latest.get();

    int parent = m_root;
    FileDescriptor folder;
    std::vector<std::string> parts = partsOf(name);
    parts.pop_back(); // the empty part after the last "/"
    for (const std::string &part : parts) {
        if (missing == Missing::Create && mkdirat(parent, part.c_str(), folderMode) != 0 && errno != EEXIST)
            fail(part, "created");
        FileDescriptor next(openat(parent, part.c_str(), openFolder));
        if (!next.isOpen())
            fail(part, "opened");
        folder = std::move(next);
        parent = folder.get();
    }
    m_latest = std::move(folder);
    m_latestName = name;
    return m_latest.get();
}
