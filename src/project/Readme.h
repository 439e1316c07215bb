#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

/// The text of the game's README in UTF-8: the first entry of `root`, in listing order, whose name begins
/// with "readme" in any letter case. Empty when there is none or it cannot be read, for instance because it
/// is a folder.
QByteArray readmeText(const QString &root);

/// A paragraph is used whole up to this many bytes, which is more than anybody writes.
constexpr qsizetype longestParagraph = 512 * 1024;

/// One short description of the game: the README's first heading, an em dash and its first line of at least
/// seven words. Just one of these when the other is missing; `fallback` when both are.
QString blurb(QByteArrayView readme, const QString &fallback);
