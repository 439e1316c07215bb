#include "ColourCodes.h"

#include <QVarLengthArray>

#include <algorithm>
#include <array>

namespace {

/// The most characters between "ESC [" and the end of a code. The longest that sets a colour has about 40.
constexpr qsizetype mostParameters = 64;

/// The first sixteen of a terminal's colours, which each terminal chooses for itself.
constexpr std::array<QRgb, 16> namedColours { 0x000000, 0xd93025, 0x1f9d4d, 0xd97706, 0x2a6fdb, 0xa335c4,
                                              0x0e8ea8, 0xc0c4cc, 0x8a9099, 0xff6257, 0x41c46e, 0xf5a524,
                                              0x5b9bff, 0xd670f0, 0x34c3dc, 0xffffff };
/// Next come all mixtures of six levels of red, green and blue, and last some greys.
constexpr int firstMixture = 16;
constexpr int levels = 6;
constexpr int firstGrey = firstMixture + levels * levels * levels;
constexpr int lastColour = 255;

int mixture(int red, int green, int blue)
{
    const auto level = [](int value) { return std::min(value, 255) * (levels - 1) / 255; };
    return firstMixture + (level(red) * levels + level(green)) * levels + level(blue);
}

bool isComplete(QStringView code)
{
    const char16_t last = code.back().unicode();
    return code.size() > 2 && last >= 0x40 && last <= 0x7e;
}

/// The numbers of a code that sets colours; an empty one is 0.
QVarLengthArray<int> numbersOf(QStringView parameters)
{
    constexpr int most = 1000;
    QVarLengthArray<int> numbers { 0 };
    for (const QChar character : parameters) {
        if (character == u';' || character == u':')
            numbers.append(0);
        else if (character >= u'0' && character <= u'9')
            numbers.last() = std::min(numbers.last() * 10 + (character.unicode() - u'0'), most);
        else
            return {}; // a code for something else
    }
    return numbers;
}

/// The colour after a code, where there was `colour` before.
int colourAfter(QStringView code, int colour)
{
    if (!isComplete(code) || code.back() != u'm')
        return colour;
    const auto numbers = numbersOf(code.sliced(2).chopped(1));
    const auto number = [&numbers](qsizetype index) { return index < numbers.size() ? numbers[index] : 0; };
    for (qsizetype index = 0; index < numbers.size(); ++index) {
        const int what = numbers[index];
        if (what == 0 || what == 39) {
            colour = ColourCodes::plain;
        } else if (what >= 30 && what <= 37) {
            colour = what - 30;
        } else if (what >= 90 && what <= 97) {
            colour = what - 90 + 8;
        } else if (what == 38 || what == 48) {
            // The colour of the text or of its ground, as a number or as red, green and blue.
            const bool isNumber = number(index + 1) == 5;
            const int wanted = isNumber ? std::min(number(index + 2), lastColour)
                                        : mixture(number(index + 2), number(index + 3), number(index + 4));
            if (what == 38)
                colour = wanted;
            index += isNumber ? 2 : 4;
        }
    }
    return colour;
}

}

qsizetype ColourCodes::lengthAt(QStringView text, qsizetype at)
{
    const qsizetype begin = at + 2;
    if (begin > text.size() || text[at + 1] != u'[')
        return 1;
    qsizetype end = begin;
    while (end < text.size() && text[end] >= QChar(0x20) && text[end] <= QChar(0x3f)) {
        if (end - begin == mostParameters)
            return 1; // shows what pretends to be a code
        ++end;
    }
    const bool isFinished = end < text.size() && text[end] >= QChar(0x40) && text[end] <= QChar(0x7e);
    return end - at + (isFinished ? 1 : 0);
}

ColourCodes::Text ColourCodes::read(QStringView text, int &colour)
{
    Text result;
    for (qsizetype at = 0; at < text.size();) {
        if (text[at] == escape) {
            const qsizetype length = lengthAt(text, at);
            colour = colourAfter(text.sliced(at, length), colour);
            if (!result.gaps.isEmpty() && result.gaps.last().at == result.shown.size())
                result.gaps.last().length += length;
            else
                result.gaps.append({ result.shown.size(), length });
            at += length;
            continue;
        }
        const qsizetype next = text.indexOf(escape, at);
        const qsizetype end = next < 0 ? text.size() : next;
        const qsizetype begin = result.shown.size();
        result.shown += text.sliced(at, end - at);
        if (colour != plain) {
            if (!result.runs.isEmpty() && result.runs.last().end == begin
                && result.runs.last().colour == colour)
                result.runs.last().end = result.shown.size();
            else
                result.runs.append({ begin, result.shown.size(), colour });
        }
        at = end;
    }
    return result;
}

QColor ColourCodes::colour(int number)
{
    if (number < firstMixture)
        return QColor::fromRgb(namedColours.at(static_cast<std::size_t>(std::max(number, 0))));
    if (number < firstGrey) {
        const int mixed = number - firstMixture;
        const auto value = [](int level) { return level % levels * 255 / (levels - 1); };
        return QColor(value(mixed / (levels * levels)), value(mixed / levels), value(mixed));
    }
    const int grey = 8 + (std::min(number, lastColour) - firstGrey) * 10;
    return QColor(grey, grey, grey);
}
