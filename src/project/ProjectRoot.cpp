#include "FolderListing.h"
#include "ProjectInspector.h"

#include <QStringList>

#include <utility>

namespace {

// The deepest level at which the project file may lie; 1 is directly in the searched folder.
constexpr int deepestLevel = 4;

}

// Breadth first, so that the first match is the shallowest; the folders of a level are in listing order.
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
