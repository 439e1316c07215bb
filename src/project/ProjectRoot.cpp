#include "FolderListing.h"
#include "ProjectInspector.h"

#include <QStringList>

#include <utility>

namespace {

// How far down the project file itself may lie: 1 is directly in the searched folder.
constexpr int deepestLevel = 4;

}

// Level by level: the first match found is the shallowest, and a level's folders stand in listing order.
std::optional<QString> ProjectInspector::findProjectRoot(const QString &folder)
{
    QStringList folders { folder };
    for (int level = 1; level <= deepestLevel && !folders.isEmpty(); ++level) {
        QStringList below;
        for (const QString &candidate : std::as_const(folders)) {
            const auto entries = listFolder(candidate);
            if (!entries)
                continue;
            for (const FolderEntry &entry : *entries) {
                if (entry.name == QLatin1StringView("project.godot"))
                    return candidate;
                if (entry.isFolder && !entry.isHidden())
                    below.append(candidate + u'/' + entry.name);
            }
        }
        folders = below;
    }
    return std::nullopt;
}
