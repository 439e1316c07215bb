#pragma once

#include "FileDescriptor.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

/// Opens the folder to unpack into, which is created when it does not exist; its parent must. Throws
/// UnpackError, also when something is in it.
FileDescriptor openEmptyFolder(const std::string &path);

/// Removes everything in the open folder, as far as the system lets it, and follows no link.
void clearFolder(int folder);

/// Writes below one folder and nowhere else: every step of a path is opened from the one before it and never
/// through a link. Names are relative and checked. Whatever fails throws UnpackError. The process's umask
/// applies to what is created. Not thread-safe; several may write below one folder.
class FolderWriter final {
public:
    /// `root`, an open folder, outlives it.
    explicit FolderWriter(int root);

    /// Creates the folder and those above it, as far as they are missing.
    void makeFolder(const std::string &name);
    /// Creates the folders above `name`, as far as they are missing.
    void makeFolderOf(const std::string &name);
    /// Creates the file in its folder, which exists, and returns it open for writing. Nothing may have its
    /// name.
    FileDescriptor createFile(const std::string &name, bool isProgram);
    /// Ends the writing of the file that `createFile` returned.
    void finishFile(const std::string &name, FileDescriptor file, std::optional<std::time_t> modified);
    void makeLink(const std::string &name, const std::string &target);
    void setFolderTime(const std::string &name, std::time_t modified);

private:
    enum class Missing { Create, Refuse };

    /// The open folder called `name`, which ends with "/"; the root for an empty name. Valid until the next
    /// call.
    int folderAt(const std::string &name, Missing missing);

    int m_root = -1;
    FileDescriptor m_latest; // the folder asked for last: members of one folder stand together
    std::string m_latestName;
};
