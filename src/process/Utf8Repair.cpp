#include "Utf8Repair.h"

#include <QStringDecoder>

#include <algorithm>

namespace {

/// What may follow a leading byte. `length` 0: the byte begins no character.
struct Sequence {
    qsizetype length = 0;
    uchar secondLowest = 0x80;
    uchar secondHighest = 0xBF;
};

/// The second byte's limits exclude overlong forms, surrogates and code points above U+10FFFF.
Sequence sequenceFrom(uchar lead)
{
    if (lead < 0x80)
        return { 1 };
    if (lead >= 0xC2 && lead <= 0xDF)
        return { 2 };
    if (lead == 0xE0)
        return { 3, 0xA0 };
    if (lead == 0xED)
        return { 3, 0x80, 0x9F };
    if (lead >= 0xE1 && lead <= 0xEF)
        return { 3 };
    if (lead == 0xF0)
        return { 4, 0x90 };
    if (lead >= 0xF1 && lead <= 0xF3)
        return { 4 };
    if (lead == 0xF4)
        return { 4, 0x80, 0x8F };
    return {};
}

/// How many bytes at the start of `bytes` are a character or the beginning of one.
qsizetype wellFormedPrefix(QByteArrayView bytes, const Sequence &sequence)
{
    if (sequence.length == 0)
        return 0;
    qsizetype count = 1;
    while (count < std::min(sequence.length, bytes.size())) {
        const uchar byte = static_cast<uchar>(bytes[count]);
        const uchar lowest = count == 1 ? sequence.secondLowest : 0x80;
        const uchar highest = count == 1 ? sequence.secondHighest : 0xBF;
        if (byte < lowest || byte > highest)
            break;
        ++count;
    }
    return count;
}

QString decodeValid(QByteArrayView bytes)
{
    // QString::fromUtf8 would drop a leading byte order mark.
    if (!bytes.startsWith('\xEF'))
        return QString::fromUtf8(bytes);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(bytes);
}

}

QString Utf8Repair::decode(QByteArrayView bytes)
{
    if (bytes.isValidUtf8())
        return decodeValid(bytes);

    QString text;
    text.reserve(bytes.size());
    qsizetype valid = 0; // where the well-formed bytes not yet in `text` begin
    qsizetype at = 0;
    while (at < bytes.size()) {
        const Sequence sequence = sequenceFrom(static_cast<uchar>(bytes[at]));
        const qsizetype prefix = wellFormedPrefix(bytes.sliced(at), sequence);
        if (prefix == sequence.length && prefix > 0) {
            at += prefix;
            continue;
        }
        text += decodeValid(bytes.sliced(valid, at - valid));
        text += QChar(QChar::ReplacementCharacter);
        at += std::max<qsizetype>(prefix, 1);
        valid = at;
    }
    return text + decodeValid(bytes.sliced(valid));
}

qsizetype Utf8Repair::unfinishedTail(QByteArrayView bytes)
{
    for (qsizetype count = 1; count <= std::min<qsizetype>(3, bytes.size()); ++count) {
        const QByteArrayView tail = bytes.last(count);
        const Sequence sequence = sequenceFrom(static_cast<uchar>(tail[0]));
        if (sequence.length > count && wellFormedPrefix(tail, sequence) == count)
            return count;
    }
    return 0;
}
