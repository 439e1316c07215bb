// Arbitrary bytes, split at zero bytes into a game's README, licence, script and project file.

#include "Fuzzing.h"
#include "ProjectInspector.h"
#include "Readme.h"
#include "SaveFolder.h"
#include "TextFile.h"
#include "TextLines.h"

#include <QByteArray>
#include <QFile>

namespace {

QByteArray takeSection(QByteArray &rest)
{
    const qsizetype end = rest.indexOf('\0');
    const QByteArray section = end < 0 ? QByteArray() : rest.first(end);
    rest = end < 0 ? rest : rest.sliced(end + 1);
    return section;
}

void expectShownText(const QString &text)
{
    expect(text.size() <= 2 * longestParagraph + 3, "texts have an end");
    for (const QChar character : text)
        expect(!TextFile::isNewline(character), "a text is one line", text.toStdString());
}

/// The value of the last line that begins with `key` and has one, found in the simplest way.
QString lastValue(const QByteArray &project, const QString &key, const QString &fallback)
{
    QString value = fallback;
    for (const QString &line : TextFile::lines(QString::fromUtf8(project))) {
        const QString trimmed = TextLines::trimmed(QStringView(line)).toString();
        const QStringList parts = trimmed.split(u'"');
        if (trimmed.startsWith(key) && parts.size() >= 3)
            value = parts[1];
    }
    return value;
}

void expectFacts(const ProjectInfo &info, const QByteArray &project)
{
    const bool isText = project.isValidUtf8();
    const QByteArray text = isText ? project : QByteArray();
    expect(info.name == lastValue(text, QStringLiteral("config/name="), QStringLiteral("Vantor")),
           "the name is the last one", info.name.toStdString());
    expect(info.mainScene == lastValue(text, QStringLiteral("run/main_scene="), QString()),
           "the scene is the last one", info.mainScene.toStdString());
    expect(isText || info.configVersion == 0, "what is no text says nothing");
    expect(!info.controls.isEmpty() && info.controls.size() <= 8, "there are some controls, not many");
    expect(!info.author.isEmpty() && !info.licenseName.isEmpty(), "there is a licence");
    QStringList shown = info.controls + info.features;
    shown << info.blurb << info.author << info.licenseName << info.name;
    for (const QString &each : shown)
        expectShownText(each);

    for (const QString &folder : saveFolderCandidates(QStringLiteral("/data/Godot"), info.name)) {
        const std::string plain = std::filesystem::path(folder.toStdString()).lexically_normal().string();
        expect((plain + '/').starts_with("/data/Godot/"), "saves are where saves are", plain);
    }
}

QByteArray contentOf(const std::filesystem::path &path)
{
    QFile file(QString::fromStdString(path.string()));
    expect(file.open(QIODevice::ReadOnly), "the project file is there");
    return file.readAll();
}

void expectExactEdit(const QByteArray &before, const QByteArray &after)
{
    const QByteArray setting = "pointing/emulate_touch_from_mouse=true";
    if (!before.isValidUtf8() || before.contains("emulate_touch_from_mouse")) {
        expect(after == before, "a file that needs no edit is left alone");
        return;
    }
    expect(after.count(setting) == 1, "the setting stands there once");
    const qsizetype common
        = std::mismatch(before.begin(), before.end(), after.begin(), after.end()).first - before.begin();
    expect(after.endsWith(before.sliced(common)), "nothing else changes");
    const QByteArray added = after.mid(common, after.size() - before.size());
    expect(QByteArray(added + added).contains(setting), "what is added is the setting", added.toStdString());
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QByteArray rest(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const std::filesystem::path root = scratchFolder();
    const auto write = [&root](const char *name, const QByteArray &content) {
        writeFile(root / name, content.constData(), static_cast<std::size_t>(content.size()));
    };
    for (const char *name : { "README.md", "LICENSE", "a.gd" })
        write(name, takeSection(rest));
    write("project.godot", rest);

    const QString folder = QString::fromStdString(root.string());
    expectFacts(ProjectInspector::inspect(folder), rest);

    ProjectInspector::enableMouseAsTouch(folder);
    const QByteArray edited = contentOf(root / "project.godot");
    expectExactEdit(rest, edited);
    ProjectInspector::enableMouseAsTouch(folder);
    expect(contentOf(root / "project.godot") == edited, "a second edit changes nothing");
    return 0;
}
