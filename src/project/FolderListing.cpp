#include "FolderListing.h"

#include <QFile>

#include <filesystem>
#include <system_error>

// Not QDir, which sorts; and the kind of an entry comes with its name, without another question to the disk.
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
        const bool isFolder
            = iterator->symlink_status(unknown).type() == std::filesystem::file_type::directory;
        entries.append({ QFile::decodeName(iterator->path().filename().c_str()), isFolder });
        // After an error the iterator is at its end: what has been listed so far counts.
        iterator.increment(error);
    }
    return entries;
}
