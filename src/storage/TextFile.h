#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// Text as people write it: the game's project file, README and licence, and the lines of lists and logs. Any
/// thread.
namespace TextFile {

/// The file's content as UTF-8 without a byte order mark, not decoded because it may be large. Returns
/// nothing when the file cannot be read, is not UTF-8 or is far too large to be text.
std::optional<QByteArray> read(const QString &path);

/// Whether `character` ends a line: U+000A to U+000D, U+0085, U+2028, U+2029.
bool isNewline(QChar character);

/// `text` split at every newline character, empty lines kept. "a\r\nb" is three lines, the middle one empty.
QStringList lines(const QString &text);

}
