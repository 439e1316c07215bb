#include "HttpAnswer.h"

#include <algorithm>

namespace {

/// Longer tags are not repeated in a request: servers limit the length of a header.
constexpr qsizetype longestTag = 1024;

bool isDigits(QByteArrayView text)
{
    return !text.isEmpty()
        && std::all_of(text.begin(), text.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

/// A number of bytes; no value when `text` is anything else, or too large for 64 bits.
std::optional<qint64> byteCount(QByteArrayView text)
{
    bool isNumber = false;
    const qint64 count = text.toLongLong(&isNumber);
    return isNumber && isDigits(text) ? std::optional(count) : std::nullopt;
}

/// `value` if it is a strong entity tag, otherwise empty.
QByteArray strongTagIn(QByteArrayView value)
{
    const auto isVisible = [](char letter) { return letter > ' ' && letter <= '~'; };
    const bool isTag = value.size() >= 2 && value.size() <= longestTag && value.startsWith('"')
        && value.endsWith('"') && std::count(value.begin(), value.end(), '"') == 2
        && std::all_of(value.begin(), value.end(), isVisible);
    return isTag ? value.toByteArray() : QByteArray();
}

/// Reads "bytes 100-999/1000". Another unit, and "*" in the place of a number, are not understood.
std::optional<HttpContentRange> contentRangeIn(QByteArrayView value)
{
    constexpr QByteArrayView unit("bytes ");
    if (value.size() < unit.size() || value.first(unit.size()).compare(unit, Qt::CaseInsensitive) != 0)
        return std::nullopt;
    const QByteArrayView numbers = value.sliced(unit.size()).trimmed();
    const auto dash = numbers.indexOf('-');
    const auto slash = numbers.indexOf('/');
    if (dash < 0 || slash < dash)
        return std::nullopt;
    const auto first = byteCount(numbers.first(dash));
    const auto last = byteCount(numbers.sliced(dash + 1, slash - dash - 1));
    const auto complete = byteCount(numbers.sliced(slash + 1));
    if (!first || !last || !complete || *first > *last || *last >= *complete)
        return std::nullopt;
    return HttpContentRange { *first, *last, *complete };
}

}

void HttpAnswer::takeField(QByteArrayView name, QByteArrayView value)
{
    if (name == "etag") {
        ++m_tags;
        m_strongTag = strongTagIn(value);
    } else if (name == "content-range") {
        ++m_ranges;
        m_range = contentRangeIn(value);
    } else if (name == "content-encoding") {
        m_isEncoded = m_isEncoded || value.compare("identity", Qt::CaseInsensitive) != 0;
    }
}
