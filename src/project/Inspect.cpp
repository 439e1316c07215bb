#include "Controls.h"
#include "FolderListing.h"
#include "Licence.h"
#include "ProjectFile.h"
#include "ProjectInspector.h"
#include "Readme.h"
#include "TextFile.h"

namespace {

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

ProjectInfo ProjectInspector::inspect(const QString &root)
{
    const QString text = TextFile::read(root + QStringLiteral("/project.godot")).value_or(QString());
    const ProjectFile file = ProjectFile::parse(text);
    const QString readme = readmeText(root);
    const ControlsList controls = controlsList(readme, root);
    const LicenseInfo license = licenseInfo(root);

    ProjectInfo info;
    info.root = root;
    info.name = file.name;
    info.configVersion = file.configVersion;
    info.features = file.features;
    info.mainScene = file.mainScene;
    info.isCSharp = isCSharpProject(file.features, root);
    info.blurb = blurb(readme, file.name);
    info.licenseName = license.name;
    info.author = license.author;
    info.controls = controls.controls;
    info.controlsFromReadme = controls.fromReadme;
    return info;
}
