#include "MouseAsTouch.h"

#include "FileError.h"
#include "FileOperations.h"
#include "ProjectInspector.h"
#include "TextFile.h"

#include <QFile>

#include <utility>

namespace {

constexpr QByteArrayView section = "[input_devices]";

/// TextFile drops the mark, but it belongs to the game and must stay.
QByteArray byteOrderMark(const QString &path)
{
    const QByteArray mark = QByteArrayLiteral("\xef\xbb\xbf");
    QFile file(path);
    const bool isMarked = file.open(QIODevice::ReadOnly) && file.read(mark.size()) == mark;
    return isMarked ? mark : QByteArray();
}

}

std::optional<QByteArray> withMouseAsTouch(QByteArray text)
{
    if (text.contains("emulate_touch_from_mouse"))
        return std::nullopt;

    const qsizetype header = text.indexOf(section);
    if (header >= 0) {
        text.insert(header + section.size(), "\n\npointing/emulate_touch_from_mouse=true");
        return text;
    }
    if (!text.endsWith('\n'))
        text += '\n';
    text += "\n[input_devices]\n\npointing/emulate_touch_from_mouse=true\n";
    return text;
}

std::optional<QString> ProjectInspector::enableMouseAsTouch(const QString &root)
{
    const QString path = root + QStringLiteral("/project.godot");
    // Moved and edited in place, because it may be large.
    auto text = TextFile::read(path);
    if (text)
        text = withMouseAsTouch(*std::move(text));
    if (!text)
        return std::nullopt;
    try {
        FileOperations::writeAtomically(path, text->prepend(byteOrderMark(path)));
    } catch (const FileError &error) {
        return QStringLiteral("Could not enable mouse-as-touch: ") + error.errorDescription();
    }
    return QStringLiteral(
        "Enabled mouse clicks as touch in the downloaded copy so the game's buttons work on a Mac.");
}
