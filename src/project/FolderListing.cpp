#include "FolderListing.h"

#include <QFile>

#include <filesystem>
#include <system_error>

// Not QDir, which sorts and asks the disk about every entry. Here most file systems give the kind of an entry
// together with its name; `symlink_status` would ask all the same.
std::optional<QList<FolderEntry>> listFolder(const QString &folder)
{
    std::error_code error;
    std::filesystem::directory_iterator iterator(QFile::encodeName(folder).toStdString(), error);
    if (error)
        return std::nullopt;

    QList<FolderEntry> entries;
    while (iterator != std::filesystem::directory_iterator()) {
        // An entry whose kind cannot be told is nothing to walk into.
        std::error_code unknown;
        const bool isFolder = !iterator->is_symlink(unknown) && iterator->is_directory(unknown);
        entries.append({ QFile::decodeName(iterator->path().filename().c_str()), isFolder });
        // After an error the iterator is at its end: what has been listed so far counts.
        iterator.increment(error);
    }
    return entries;
}
