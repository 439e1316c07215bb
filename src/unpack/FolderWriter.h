#pragma once

#include "FileDescriptor.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

/// Writes below one folder and nowhere else: every step of a path is opened from the one before it and never
/// through a link. Names are relative and checked. Whatever fails throws UnpackError.
class FolderWriter final {
public:
    /// `folder` is created when it does not exist; its parent must.
    explicit FolderWriter(const std::string &folder);

    /// Creates the folder and those above it, as far as they are missing.
    void makeFolder(const std::string &name);
    /// Creates the file, and gives it open for writing. Nothing may have its name.
    FileDescriptor createFile(const std::string &name);
    /// Ends the writing of the file that `createFile` gave.
    void finishFile(const std::string &name, FileDescriptor file, bool isProgram,
                    std::optional<std::time_t> modified);
    void makeLink(const std::string &name, const std::string &target);
    void setFolderTime(const std::string &name, std::time_t modified);

private:
    /// The open folder that `parts` name, created where missing. Valid until the next call.
    int folderAt(const std::vector<std::string> &parts);
    /// The open folder in which `name` lies.
    int parentOf(const std::string &name);

    FileDescriptor m_root;
    FileDescriptor m_latest; // the folder asked for last: members of one folder stand together
    std::vector<std::string> m_latestParts;
};
