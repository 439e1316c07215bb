#include "FolderWriter.h"

#include "MemberName.h"
#include "UnpackError.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr mode_t folderMode = 0755;
constexpr mode_t programMode = 0755;
constexpr mode_t fileMode = 0644;

[[noreturn]] void fail(const std::string &name, const std::string &action)
{
    const int code = errno;
    throw UnpackError(quoted(name) + " could not be " + action + ": " + std::strerror(code) + ".");
}

void setTime(int file, const std::string &name, std::time_t modified)
{
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = modified;
    if (futimens(file, times) != 0)
        fail(name, "given its time");
}

std::string lastPartOf(const std::string &name) { return name.substr(name.rfind('/') + 1); }

}

FolderWriter::FolderWriter(const std::string &folder)
{
    if (mkdir(folder.c_str(), folderMode) != 0 && errno != EEXIST)
        fail(folder, "created");
    m_root = FileDescriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!m_root.isOpen())
        fail(folder, "opened");
}

void FolderWriter::makeFolder(const std::string &name) { folderAt(partsOf(name)); }

FileDescriptor FolderWriter::createFile(const std::string &name)
{
    const int parent = parentOf(name);
    FileDescriptor file(openat(parent, lastPartOf(name).c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file.isOpen())
        fail(name, "created");
    return file;
}

void FolderWriter::finishFile(const std::string &name, FileDescriptor file, bool isProgram,
                              std::optional<std::time_t> modified)
{
    if (fchmod(file.get(), isProgram ? programMode : fileMode) != 0)
        fail(name, "given its permissions");
    if (modified)
        setTime(file.get(), name, *modified);
    if (!file.close())
        fail(name, "written");
}

void FolderWriter::makeLink(const std::string &name, const std::string &target)
{
    if (symlinkat(target.c_str(), parentOf(name), lastPartOf(name).c_str()) != 0)
        fail(name, "created");
}

void FolderWriter::setFolderTime(const std::string &name, std::time_t modified)
{
    setTime(folderAt(partsOf(name)), name, modified);
}

int FolderWriter::folderAt(const std::vector<std::string> &parts)
{
    if (parts.empty())
        return m_root.get();
    if (m_latest.isOpen() && parts == m_latestParts)
        return m_latest.get();

    int parent = m_root.get();
    FileDescriptor folder;
    for (const std::string &part : parts) {
        if (mkdirat(parent, part.c_str(), folderMode) != 0 && errno != EEXIST)
            fail(part, "created");
        FileDescriptor next(openat(parent, part.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!next.isOpen())
            fail(part, "opened");
        folder = std::move(next);
        parent = folder.get();
    }
    m_latest = std::move(folder);
    m_latestParts = parts;
    return m_latest.get();
}

int FolderWriter::parentOf(const std::string &name)
{
    std::vector<std::string> parts = partsOf(name);
    parts.pop_back();
    return folderAt(parts);
}
