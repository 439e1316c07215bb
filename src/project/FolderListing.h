#pragma once

#include <QList>
#include <QString>

#include <optional>

/// One entry of a folder.
struct FolderEntry {
    QString name;
    /// A folder itself, not a symbolic link to one. Links are never followed: one may lead to its own parent
    /// or to the whole disk.
    bool isFolder = false;

    bool isHidden() const { return name.startsWith(u'.'); }
};

/// The entries directly in `folder`, hidden ones included, in the file system's order; no value when the
/// folder cannot be listed.
std::optional<QList<FolderEntry>> listFolder(const QString &folder);

/// The path of the first entry in listing order whose name `qualifies` accepts; no value when there is none.
template <typename Predicate> std::optional<QString> firstPath(const QString &folder, Predicate qualifies)
{
    const auto entries = listFolder(folder);
    if (!entries)
        return std::nullopt;
    for (const FolderEntry &entry : *entries) {
        if (qualifies(entry.name))
            return folder + u'/' + entry.name;
    }
    return std::nullopt;
}
