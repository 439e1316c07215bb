#include "HarmlessText.h"

namespace {

constexpr char16_t firstControlPicture = 0x2400;
constexpr char16_t deletePicture = 0x2421;
constexpr char16_t newLinePicture = 0x2424;

bool isBrokenSurrogate(const QString &text, qsizetype at)
{
    const QChar character = text.at(at);
    if (character.isHighSurrogate())
        return at + 1 == text.size() || !text.at(at + 1).isLowSurrogate();
    return character.isLowSurrogate() && (at == 0 || !text.at(at - 1).isHighSurrogate());
}

/// The character itself if it can be shown as it is, otherwise its substitute.
QChar shown(QChar character)
{
    const char16_t code = character.unicode();
    if (code == u'\n' || code == u'\t')
        return character;
    if (code < 0x20)
        return QChar(static_cast<char16_t>(firstControlPicture + code));
    if (code == 0x7f)
        return QChar(deletePicture);
    if (code == 0x2028 || code == 0x2029)
        return QChar(newLinePicture);

    const bool isControl = code >= 0x80 && code < 0xa0;
    const bool isDirectionMark = code == 0x061c || code == 0x200e || code == 0x200f
        || (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
    // QTextDocument uses 0xfdd0 and 0xfdd1 to mark frames and 0xfffc for embedded objects.
    const bool isLayoutMark
        = (code >= 0xfdd0 && code <= 0xfdef) || code == 0xfffc || code == 0xfffe || code == 0xffff;
    return isControl || isDirectionMark || isLayoutMark ? QChar(QChar::ReplacementCharacter) : character;
}

}

QString harmlessText(const QString &text)
{
    QString result = text;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar character = text.at(at);
        const QChar sign
            = isBrokenSurrogate(text, at) ? QChar(QChar::ReplacementCharacter) : shown(character);
        // Only the first write copies the shared string, and nearly every text is harmless already.
        if (sign != character)
            result[at] = sign;
    }
    return result;
}
