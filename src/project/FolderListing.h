#pragma once

#include <QList>
#include <QString>

#include <optional>

/// One name in a folder.
struct FolderEntry {
    QString name;
    /// A folder itself, not a symbolic link to one: links are never walked through, so that one that leads to
    /// its own parent, or to the whole disk, costs nothing.
    bool isFolder = false;

    bool isHidden() const { return name.startsWith(u'.'); }
};

/// What lies directly in `folder`, hidden entries included, in the order in which the file system gives it;
/// none when the folder cannot be listed.
std::optional<QList<FolderEntry>> listFolder(const QString &folder);

/// The first name that `listFolder` gives and `qualifies` accepts, as a path; none when there is none.
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
