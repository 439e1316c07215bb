#pragma once

#include <QByteArrayView>
#include <QString>

/// Bytes that should be UTF-8, as text.
namespace Utf8Repair {

/// `bytes` decoded, with one U+FFFD for every longest run of bytes that begins a character and does not
/// complete it, and for every byte that cannot begin one: the practice that the Unicode standard recommends.
/// A byte order mark is a character like any other. Not Qt's own repair, which puts one replacement for every
/// byte of a cut-off character.
QString decode(QByteArrayView bytes);

/// How many bytes at the end of `bytes` begin a character that following bytes could complete: 0 to 3.
qsizetype unfinishedTail(QByteArrayView bytes);

}
