#include "AddressSecrets.h"

#include "PercentEncoding.h"

#include <algorithm>
#include <array>

using namespace PercentEncoding;

namespace {

constexpr QStringView schemeEnd = u"://";

// Parameters

/// Longer names hold no known secret.
constexpr qsizetype longestName = 64;

/// A parameter without a name that is at least this long, and has letters and digits, may be a token.
constexpr qsizetype shortestToken = 20;

bool isSecretName(const QString &name)
{
    static constexpr std::array<QStringView, 10> whole { u"auth", u"code", u"jwt", u"otp", u"pass",
                                                         u"pw",   u"pwd",  u"sid", u"sig", u"ticket" };
    static constexpr std::array<QStringView, 9> parts { u"accesskey",  u"authorization", u"credential",
                                                        u"passphrase", u"passw",         u"secret",
                                                        u"session",    u"signature",     u"token" };
    static constexpr std::array<QStringView, 2> beginnings { u"x-amz-", u"x-goog-" };
    const auto is = [&name](QStringView each) { return name == each; };
    const auto has = [&name](QStringView each) { return name.contains(each); };
    const auto begins = [&name](QStringView each) { return name.startsWith(each); };
    return std::any_of(whole.begin(), whole.end(), is) || std::any_of(parts.begin(), parts.end(), has)
        || std::any_of(beginnings.begin(), beginnings.end(), begins) || name.endsWith(u"key");
}

bool beginsParameter(const Unit &unit)
{
    return unit.code == u'?' || unit.code == u'&' || unit.code == u'#' || unit.code == u';';
}

struct Parameter {
    bool isSecret = false;
    /// Where the value begins and ends.
    qsizetype value = 0;
    qsizetype end = 0;
};

/// Where the value at `at` ends. In an address that is encoded as a whole, within another one, the signs
/// between parameters are encoded too.
qsizetype endOfValue(QStringView text, qsizetype at, bool isEncoded)
{
    while (at < text.size()) {
        const Unit unit = unitAt(text, at);
        const bool separates = unit.code == u'&' || unit.code == u'#';
        if (endsAddress(text[at]) || (separates && (isEncoded || !unit.isEncoded())))
            break;
        at += unit.length;
    }
    return at;
}

bool looksLikeToken(QStringView text)
{
    const auto isLetter = [](QChar character) { return character.isLetter(); };
    const auto isDigit = [](QChar character) { return character.isDigit(); };
    return text.size() >= shortestToken && std::any_of(text.begin(), text.end(), isLetter)
        && std::any_of(text.begin(), text.end(), isDigit);
}

/// The parameter whose name begins at `at`. Only in an address may it be a value without a name.
Parameter parameterAt(QStringView text, qsizetype at, bool isEncoded, bool isInAddress)
{
    QString name;
    qsizetype end = at;
    for (; end < text.size() && !endsAddress(text[end]); end += unitAt(text, end).length) {
        const Unit unit = unitAt(text, end);
        if (beginsParameter(unit))
            break;
        if (unit.code == u'=') {
            const qsizetype value = end + unit.length;
            const bool isSecret = isSecretName(name.toLower());
            return { isSecret, value, isSecret ? endOfValue(text, value, isEncoded) : value };
        }
        if (name.size() <= longestName)
            name += QChar(unit.code);
    }
    return { isInAddress && looksLikeToken(text.sliced(at, end - at)), at, end };
}

QString withoutSecretParameters(const QString &text)
{
    const QStringView all(text);
    QString result;
    qsizetype copied = 0;
    bool isInAddress = false;
    for (qsizetype at = 0; at < all.size();) {
        const Unit unit = unitAt(all, at);
        if (endsAddress(all[at]))
            isInAddress = false;
        else if (unit.code == u':' && all.sliced(at).startsWith(schemeEnd))
            isInAddress = true;
        at += unit.length;
        // A semicolon also stands in ordinary text.
        if (!beginsParameter(unit) || (unit.code == u';' && !isInAddress))
            continue;
        const Parameter parameter = parameterAt(all, at, unit.isEncoded(), isInAddress);
        if (!parameter.isSecret)
            continue;
        if (parameter.end > parameter.value) {
            result += all.sliced(copied, parameter.value - copied);
            result += removedMark;
            copied = parameter.end;
        }
        at = parameter.end;
    }
    if (copied == 0)
        return text;
    result += all.sliced(copied);
    return result;
}

// User names and passwords

/// Whether `text` begins as a computer does that is reached through a network: "proxy.example:3128".
bool beginsWithHost(QStringView text)
{
    qsizetype end = 0;
    bool hasDot = false;
    while (end < text.size()
           && (isWordCharacter(unitAt(text, end)) || text[end] == u'-' || text[end] == u'.')) {
        hasDot = hasDot || (text[end] == u'.' && end > 0);
        ++end;
    }
    const bool hasPort = end + 1 < text.size() && text[end] == u':' && text[end + 1].isDigit();
    return end > 0 && (hasDot || hasPort || text.first(end) == u"localhost");
}

/// Appends `word`, which holds no space, without what stands before the "@" of its addresses.
void appendWithoutUserInfo(QStringView word, QString &result)
{
    qsizetype copied = 0;
    qsizetype mark = word.indexOf(schemeEnd);
    if (mark < 0) {
        // "user:password@proxy:3128", as a proxy may be given
        const qsizetype at = word.lastIndexOf(u'@');
        const qsizetype colon = word.indexOf(u':');
        const bool hasUserInfo = colon > 0 && colon + 1 < at && word.front().isLetter()
            && !word.first(colon).contains(u'/') && beginsWithHost(word.sliced(at + 1));
        if (hasUserInfo) {
            result += removedMark;
            copied = at;
        }
    }
    while (mark >= 0) {
        const qsizetype start = mark + schemeEnd.size();
        qsizetype end = start;
        qsizetype at = -1;
        for (; end < word.size() && word[end] != u'/' && word[end] != u'?' && word[end] != u'#'; ++end) {
            if (word[end] == u'@')
                at = end;
        }
        if (at > start) {
            result += word.sliced(copied, start - copied);
            result += removedMark;
            copied = at;
        }
        mark = word.indexOf(schemeEnd, end);
    }
    result += word.sliced(copied);
}

QString withoutUserInfo(const QString &text)
{
    if (!text.contains(u'@'))
        return text;
    QString result;
    result.reserve(text.size());
    const QStringView all(text);
    for (qsizetype at = 0; at < all.size();) {
        qsizetype end = at;
        while (end < all.size() && !endsAddress(all[end]))
            ++end;
        appendWithoutUserInfo(all.sliced(at, end - at), result);
        if (end < all.size())
            result += all[end];
        at = end + 1;
    }
    return result;
}

// Headers

/// The end of the line that contains `at`.
qsizetype endOfLine(QStringView text, qsizetype at)
{
    const qsizetype end = text.indexOf(u'\n', at);
    return end < 0 ? text.size() : end;
}

/// Where the value of a header begins whose name ends at `at`; -1 if this is no header.
qsizetype valueOfHeader(QStringView text, qsizetype at)
{
    constexpr int mostBetween = 4; // a quotation mark, spaces
    for (int between = 0; between < mostBetween && at < text.size(); ++between, ++at) {
        if (text[at] == u':')
            return at + 1;
        if (text[at] != u' ' && text[at] != u'"' && text[at] != u'\'')
            return -1;
    }
    return -1;
}

QString withoutHeader(const QString &text, QStringView name)
{
    QString result;
    qsizetype copied = 0;
    for (qsizetype at = text.indexOf(name, 0, Qt::CaseInsensitive); at >= 0;
         at = text.indexOf(name, at, Qt::CaseInsensitive)) {
        at += name.size();
        const qsizetype value = valueOfHeader(text, at);
        if (value < 0)
            continue;
        // All of it: a value may have several parts, with any signs between them.
        result += QStringView(text).sliced(copied, value - copied);
        result += u' ';
        result += removedMark;
        copied = at = endOfLine(text, value);
    }
    if (copied == 0)
        return text;
    result += QStringView(text).sliced(copied);
    return result;
}

/// Without the token after "Bearer ", wherever that stands.
QString withoutBearerToken(const QString &text)
{
    static constexpr QStringView word = u"bearer ";
    constexpr qsizetype shortest = 8;
    QString result;
    qsizetype copied = 0;
    for (qsizetype at = text.indexOf(word, 0, Qt::CaseInsensitive); at >= 0;
         at = text.indexOf(word, at, Qt::CaseInsensitive)) {
        at += word.size();
        qsizetype end = at;
        while (end < text.size() && !endsAddress(text[end]))
            ++end;
        const bool hasDigit = std::any_of(text.begin() + at, text.begin() + end,
                                          [](QChar character) { return character.isDigit(); });
        if (end - at < shortest || !hasDigit)
            continue;
        result += QStringView(text).sliced(copied, at - copied);
        result += removedMark;
        copied = at = end;
    }
    if (copied == 0)
        return text;
    result += QStringView(text).sliced(copied);
    return result;
}

}

QString withoutSecrets(const QString &line)
{
    QString text = line;
    for (const QStringView header : { QStringView(u"authorization"), QStringView(u"cookie"),
                                      QStringView(u"x-api-key"), QStringView(u"-token") })
        text = withoutHeader(text, header);
    text = withoutBearerToken(text);
    return withoutUserInfo(withoutSecretParameters(text));
}
