#pragma once

#include <QStringView>

/// Reading texts in which some characters may be percent-encoded, as in addresses. Any thread.
namespace PercentEncoding {

/// One character as it is written: by itself, or as three ("%2F").
struct Unit {
    /// The character. An encoded one is a byte of UTF-8: from 0x80 on it is only a part of a character.
    char16_t code = 0;
    /// How many UTF-16 code units it takes; 0 outside the text.
    qsizetype length = 0;

    bool isEncoded() const { return length == 3; }
};

/// The value of a hexadecimal digit; -1 for everything else.
inline int hexadecimal(QChar character)
{
    const char16_t code = character.unicode();
    if (code >= u'0' && code <= u'9')
        return code - u'0';
    const int letter = code | 0x20;
    return letter >= u'a' && letter <= u'f' ? letter - u'a' + 10 : -1;
}

/// The unit that begins at `at`.
inline Unit unitAt(QStringView text, qsizetype at)
{
    if (at >= text.size())
        return {};
    if (text[at] == u'%' && at + 2 < text.size()) {
        const int high = hexadecimal(text[at + 1]);
        const int low = hexadecimal(text[at + 2]);
        if (high >= 0 && low >= 0)
            return { static_cast<char16_t>(high * 16 + low), 3 };
    }
    return { text[at].unicode(), 1 };
}

/// The unit that ends before `at`.
inline Unit unitBefore(QStringView text, qsizetype at)
{
    if (at == 0)
        return {};
    if (at >= 3) {
        if (const Unit unit = unitAt(text, at - 3); unit.isEncoded())
            return unit;
    }
    return { text[at - 1].unicode(), 1 };
}

/// Whether `unit` is a letter, a digit or an underscore, or a part of one.
inline bool isWordCharacter(const Unit &unit)
{
    if (unit.code < 0x80) {
        const int letter = unit.code | 0x20;
        return (letter >= u'a' && letter <= u'z') || (unit.code >= u'0' && unit.code <= u'9')
            || unit.code == u'_';
    }
    const QChar character(unit.code);
    return unit.isEncoded() || character.isLetterOrNumber() || character.isMark() || character.isSurrogate();
}

/// Whether an address or a path cannot go on with `character`, so that it ends before it.
inline bool endsAddress(QChar character)
{
    switch (character.unicode()) {
    case u'"':
    case u'<':
    case u'>':
    case u'`':
    case u'\u201c':
    case u'\u201d':
        return true;
    default:
        return character.isSpace() || character.unicode() < 0x20 || character.unicode() == 0x7f;
    }
}

}
