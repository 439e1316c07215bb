#pragma once

#include <QByteArrayView>
#include <QString>

/// Decodes bytes that should be UTF-8 but may not be.
namespace Utf8Repair {

/// Decodes `bytes`. Each longest run of bytes that begins a character but does not complete it, and each byte
/// that cannot begin one, becomes one U+FFFD, as the Unicode Standard recommends. A byte order mark is kept
/// like any other character. Qt's own decoder writes one U+FFFD for every byte of a truncated character.
QString decode(QByteArrayView bytes);

/// How many bytes at the end of `bytes` begin a character that following bytes could complete: 0 to 3.
qsizetype unfinishedTail(QByteArrayView bytes);

}
