#pragma once

#include <QColor>
#include <QList>
#include <QString>

/// The codes by which an engine colours its lines in a terminal: ESC [ 31 m, for example. Lines are written
/// by strangers, so a code may be unfinished, senseless or endless. Pure functions; they take time in
/// proportion to the text.
namespace ColourCodes {

inline constexpr QChar escape(u'\u001b');

/// A colour is its number among a terminal's 256; this is the colour of text without one.
inline constexpr int plain = -1;

/// The length of the code that begins with the escape character at `at`; at least 1, and 1 if there is no
/// code that we know.
qsizetype lengthAt(QStringView text, qsizetype at);

/// A text without its codes. Places count its characters.
struct Text {
    /// What was left out before the character at `at`.
    struct Gap {
        qsizetype at = 0;
        qsizetype length = 0;
    };
    struct Run {
        qsizetype begin = 0;
        qsizetype end = 0;
        int colour = plain;
    };

    QString shown;
    QList<Gap> gaps;
    /// Only what is not plain.
    QList<Run> runs;
};

/// Reads a text that begins in `colour`, and leaves there the one that it ends in.
Text read(QStringView text, int &colour);

/// What a terminal shows for a number from 0 to 255.
QColor colour(int number);

}
