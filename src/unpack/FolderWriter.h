#pragma once

#include "FileDescriptor.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

/// Opens the folder to unpack into, and creates it if it is missing; its parent must exist. Throws
/// UnpackError, also when the folder is not empty.
FileDescriptor openEmptyFolder(const std::string &path);

/// Removes everything in the open folder, as far as the system allows. Follows no link.
void clearFolder(int folder);

/// Writes below one folder and nowhere else: every part of a path is opened relative to the one before it and
/// never through a link. Names must be relative and checked. Failures throw UnpackError. The process's umask
/// applies to what is created. Not thread-safe; several writers may share one folder.
class FolderWriter final {
public:
    /// `root`, an open folder, must outlive it.
    explicit FolderWriter(int root);

    /// Creates the folder and its missing parents.
    void makeFolder(const std::string &name);
    /// Creates the missing parents of `name`.
    void makeFolderOf(const std::string &name);
    /// Creates the file, whose folder must exist, and returns it open for writing. The name must be free.
    FileDescriptor createFile(const std::string &name, bool isProgram);
    /// Sets the time of the file that `createFile` returned, and closes it.
    void finishFile(const std::string &name, FileDescriptor file, std::optional<std::time_t> modified);
    void makeLink(const std::string &name, const std::string &target);
    void setFolderTime(const std::string &name, std::time_t modified);

private:
    enum class Missing { Create, Refuse };

    /// The descriptor of the folder `name`, which ends with "/", or of the root for an empty name. Valid
    /// until the next call.
    int folderAt(const std::string &name, Missing missing);

    int m_root = -1;
    FileDescriptor m_latest; // the folder used last: members of one folder are adjacent
    std::string m_latestName;
};
