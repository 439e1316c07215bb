#include "FolderListing.h"

#include <QFile>

#include <filesystem>
#include <system_error>

// Not QDir, which sorts and calls stat() for every entry. Most file systems report the type of an entry with
// its name, and this iterator uses that; `symlink_status` would call stat() regardless.
std::optional<QList<FolderEntry>> listFolder(const QString &folder)
{
    std::error_code error;
    std::filesystem::directory_iterator iterator(QFile::encodeName(folder).toStdString(), error);
    if (error)
        return std::nullopt;

    QList<FolderEntry> entries;
    while (iterator != std::filesystem::directory_iterator()) {
        // An entry of unknown type is not walked into.
        std::error_code unknown;
        const bool isFolder = !iterator->is_symlink(unknown) && iterator->is_directory(unknown);
        entries.append({ QFile::decodeName(iterator->path().filename().c_str()), isFolder });
        // An error moves the iterator to the end: what has been listed so far counts.
        iterator.increment(error);
    }
    return entries;
}
