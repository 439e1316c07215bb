#include "MouseAsTouch.h"

#include "FileError.h"
#include "FileOperations.h"
#include "LogStore.h"
#include "ProjectInspector.h"
#include "TextFile.h"

#include <QFile>

namespace {

constexpr QLatin1StringView section("[input_devices]");

/// TextFile leaves the mark out, and it is the game's, not ours to drop.
QByteArray byteOrderMark(const QString &path)
{
    const QByteArray mark = QByteArrayLiteral("\xef\xbb\xbf");
    QFile file(path);
    const bool isMarked = file.open(QIODevice::ReadOnly) && file.read(mark.size()) == mark;
    return isMarked ? mark : QByteArray();
}

}

std::optional<QString> withMouseAsTouch(const QString &text)
{
    if (text.contains(QLatin1StringView("emulate_touch_from_mouse")))
        return std::nullopt;

    QString edited = text;
    const qsizetype header = text.indexOf(section);
    if (header >= 0) {
        edited.insert(header + section.size(), QStringLiteral("\n\npointing/emulate_touch_from_mouse=true"));
        return edited;
    }
    if (!edited.endsWith(u'\n'))
        edited += u'\n';
    edited += QStringLiteral("\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n");
    return edited;
}

void ProjectInspector::enableMouseAsTouch(const QString &root, LogStore &log)
{
    const QString path = root + QStringLiteral("/project.godot");
    const auto text = TextFile::read(path);
    if (!text)
        return;
    const auto edited = withMouseAsTouch(*text);
    if (!edited)
        return;
    try {
        FileOperations::writeAtomically(path, byteOrderMark(path) + edited->toUtf8());
    } catch (const FileError &error) {
        log.append(QStringLiteral("Could not enable mouse-as-touch: ") + error.description());
        return;
    }
    log.append(QStringLiteral(
        "Enabled mouse clicks as touch in the downloaded copy so the game's buttons work on a Mac."));
}
