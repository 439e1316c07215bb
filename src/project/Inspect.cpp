#include "Controls.h"
#include "FolderListing.h"
#include "LicenseInfo.h"
#include "ProjectFile.h"
#include "ProjectInspector.h"
#include "Readme.h"
#include "TextFile.h"

#include <utility>

namespace {

/// A function of its own, so that the file's text, which may be large, is freed at once.
ProjectFile readProjectFile(const QString &root)
{
    const auto text = TextFile::read(root + QStringLiteral("/project.godot"));
    return ProjectFile::parse(text.value_or(QByteArray()));
}

bool isCSharpProject(const QStringList &features, const QString &root)
{
    if (features.contains(QLatin1StringView("C#")))
        return true;
    return firstPath(root,
                     [](const QString &name) {
                         return name.endsWith(QLatin1StringView(".csproj"))
                             || name.endsWith(QLatin1StringView(".sln"));
                     })
        .has_value();
}

}

ProjectInfo ProjectInspector::inspectForEngine(const QString &root)
{
    const ProjectFile file = readProjectFile(root);
    ProjectInfo info;
    info.root = root;
    info.name = file.name;
    info.configVersion = file.configVersion;
    info.features = file.features;
    info.mainScene = file.mainScene;
    info.isCSharp = isCSharpProject(file.features, root);
    return info;
}

ProjectInfo ProjectInspector::inspect(const QString &root)
{
    ProjectInfo info = inspectForEngine(root);
    QByteArray readme = readmeText(root);
    info.blurb = blurb(readme, info.name);
    const ControlsList controls = controlsList(std::move(readme), root);
    const LicenseInfo license = licenseInfo(root);

    info.licenseName = license.name;
    info.author = license.author;
    info.controls = controls.controls;
    info.controlsFromReadme = controls.fromReadme;
    return info;
}
