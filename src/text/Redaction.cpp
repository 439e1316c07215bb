#include "Redaction.h"

#include "AddressSecrets.h"
#include "HarmlessText.h"
#include "PercentEncoding.h"

#include <algorithm>
#include <array>

using namespace PercentEncoding;

namespace {

const QString userMark = QStringLiteral("<user>");
const QString computerMark = QStringLiteral("<computer>");

/// A shorter computer's name may be part of anything.
constexpr qsizetype shortestTellingName = 4;

/// Folders that have one folder for each account.
constexpr std::array<QStringView, 8> accountFolders { u"/home/",     u"/var/home/",    u"/export/home/",
                                                      u"/Users/",    u"/media/",       u"/run/media/",
                                                      u"/run/user/", u"/var/run/user/" };

/// The last parts of those among them whose names mean nothing else.
constexpr std::array<QStringView, 2> accountParents { u"home", u"Users" };

/// What a home router appends to a computer's name.
constexpr std::array<QStringView, 6> localDomains { u".local", u".localdomain", u".lan",
                                                    u".home",  u".internal",    u".fritz.box" };

// Colours

/// The length of the sequence that sets a terminal's colour at `at`, such as ESC [31m; 0 if there is none.
qsizetype colourAt(QStringView text, qsizetype at)
{
    constexpr char16_t escape = 0x1b;
    if (text[at] != escape || at + 1 >= text.size() || text[at + 1] != u'[')
        return 0;
    qsizetype end = at + 2;
    while (end < text.size() && text[end] >= u'0' && text[end] <= u';') // digits, colons, semicolons
        ++end;
    return end < text.size() && text[end] == u'm' ? end + 1 - at : 0;
}

/// Removed first: a colour in the middle of a path must not hide it.
QString withoutColours(const QString &text)
{
    if (!text.contains(QChar(u'\u001b')))
        return text;
    QString result;
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype length = colourAt(text, at);
        if (length == 0)
            result += text[at];
        at += std::max<qsizetype>(length, 1);
    }
    return result;
}

// Paths

bool isNameCharacter(const Unit &unit)
{
    return isWordCharacter(unit) || unit.code == u'-' || unit.code == u'.' || unit.code == u'~'
        || unit.code == u'/';
}

/// The length of `pattern` in `text` at `at`, where characters may be percent-encoded and slashes repeated; 0
/// if it is not there.
qsizetype matchedLength(QStringView text, qsizetype at, QStringView pattern)
{
    constexpr int mostMoreSlashes = 2;
    qsizetype end = at;
    for (qsizetype index = 0; index < pattern.size();) {
        if (end >= text.size())
            return 0;
        if (text[end] == pattern[index]) {
            ++end;
            ++index;
        } else {
            if (text[end] != u'%')
                return 0;
            const bool isPair = pattern[index].isHighSurrogate() && index + 1 < pattern.size();
            const QByteArray bytes = pattern.sliced(index, isPair ? 2 : 1).toUtf8();
            for (const char byte : bytes) {
                const Unit unit = unitAt(text, end);
                if (!unit.isEncoded() || unit.code != static_cast<unsigned char>(byte))
                    return 0;
                end += unit.length;
            }
            index += isPair ? 2 : 1;
        }
        if (pattern[index - 1] == u'/') {
            for (int more = 0; more < mostMoreSlashes && end < text.size() && text[end] == u'/'; ++more)
                ++end;
        }
    }
    return end - at;
}

/// Whether an absolute path may begin at `at`: what stands before is not a part of it.
bool beginsPath(QStringView text, qsizetype at)
{
    const Unit before = unitBefore(text, at);
    if (before.code == u':' && text.sliced(at).startsWith(u"//"))
        return false; // an address
    if (before.length == 0 || !isNameCharacter(before))
        return true;
    const QStringView start = text.first(at);
    if (start.endsWith(u"file://", Qt::CaseInsensitive)
        || start.endsWith(u"file://localhost", Qt::CaseInsensitive))
        return true;
    // "-I/usr/include"
    return at >= 2 && QChar(before.code).isLetter() && text[at - 2] == u'-'
        && (at == 2 || !isNameCharacter(unitBefore(text, at - 2)));
}

/// Whether a name that ends at `end` is complete.
bool endsName(QStringView text, qsizetype end)
{
    const Unit unit = unitAt(text, end);
    if (unit.length == 0 || unit.code == u'/')
        return true;
    if (unit.code == u'.') // the end of a sentence, or the beginning of a suffix
        return !isWordCharacter(unitAt(text, end + unit.length));
    return !isNameCharacter(unit);
}

/// Where the one name of a path ends that begins at `at`.
qsizetype endOfName(QStringView text, qsizetype at)
{
    const auto goesOn = [](const Unit &unit) {
        // An encoded space is a part of the name, where another one would end it.
        return unit.code != u'/' && (isNameCharacter(unit) || (unit.isEncoded() && unit.code == u' '));
    };
    qsizetype end = at;
    for (Unit unit = unitAt(text, end); unit.length > 0 && goesOn(unit); unit = unitAt(text, end))
        end += unit.length;
    while (end > at && text[end - 1] == u'.')
        --end;
    return end;
}

/// Where the name of an account begins if the path at `at` leads to an account's folder; otherwise 0.
qsizetype accountName(QStringView text, qsizetype at)
{
    for (const QStringView folder : accountFolders) {
        if (const qsizetype length = matchedLength(text, at, folder); length > 0)
            return at + length;
    }
    return 0;
}

/// Whether the part of a path that begins at `at` is in a folder that has one folder for each account.
bool isInAccountParent(QStringView text, qsizetype at)
{
    const Unit slash = unitBefore(text, at);
    if (slash.code != u'/')
        return false;
    const QStringView start = text.first(at - slash.length);
    return std::any_of(accountParents.begin(), accountParents.end(), [start](QStringView parent) {
        return start.endsWith(parent) && !isWordCharacter(unitBefore(start, start.size() - parent.size()));
    });
}

// Where a name stands

enum class Place {
    Text,
    Home, ///< a path below the home folder
    Path, ///< any other absolute path
    Address,
    Resource, ///< an address of the engine's own, which names a part of the game
};

/// The kind of address whose "://" is at `at`.
Place kindOfAddress(QStringView text, qsizetype at)
{
    constexpr qsizetype longestScheme = 16;
    qsizetype start = at;
    while (start > 0 && at - start < longestScheme && text[start - 1].isLetter())
        --start;
    const QStringView scheme = text.sliced(start, at - start);
    const auto is = [scheme](QStringView name) { return scheme.compare(name, Qt::CaseInsensitive) == 0; };
    if (is(u"file"))
        return Place::Text; // its path begins next
    return is(u"res") || is(u"user") || is(u"uid") ? Place::Resource : Place::Address;
}

bool isTelling(const QString &hostName)
{
    const auto isUnlikeWords
        = [](QChar character) { return character.isDigit() || character == u'-' || character == u'.'; };
    return hostName.size() >= shortestTellingName
        && std::any_of(hostName.begin(), hostName.end(), isUnlikeWords);
}

}

Redaction::Redaction(const Identity &identity)
    : m_userName(identity.userName)
{
    for (QString home : identity.homeFolders) {
        while (home.endsWith(u'/'))
            home.chop(1);
        if (home.startsWith(u'/') && !m_homeFolders.contains(home))
            m_homeFolders.append(home);
    }
    const auto isLonger = [](const QString &one, const QString &other) { return one.size() > other.size(); };
    std::sort(m_homeFolders.begin(), m_homeFolders.end(), isLonger);

    const QString host = identity.hostName;
    for (const QString &name : { host, host.section(u'.', 0, 0) }) {
        if (!name.isEmpty() && name.compare(u"localhost", Qt::CaseInsensitive) != 0
            && !m_hostNames.contains(name))
            m_hostNames.append(name);
    }
}

QString Redaction::redacted(const QString &line) const
{
    return harmlessText(withoutNames(withoutHome(withoutSecrets(withoutColours(line)))));
}

QString Redaction::withoutHome(const QString &text) const
{
    if (m_homeFolders.isEmpty())
        return text;
    const QStringView all(text);
    QString result;
    qsizetype copied = 0;
    for (qsizetype at = 0; at < all.size();) {
        const Unit unit = unitAt(all, at);
        qsizetype length = 0;
        if (unit.code == u'/' && beginsPath(all, at)) {
            for (const QString &home : m_homeFolders) {
                length = matchedLength(all, at, home);
                if (length > 0 && endsName(all, at + length))
                    break;
                length = 0;
            }
        }
        if (length > 0) {
            result += all.sliced(copied, at - copied);
            result += u'~';
            copied = at + length;
        }
        at += length > 0 ? length : unit.length;
    }
    result += all.sliced(copied);
    return result;
}

QString Redaction::withoutNames(const QString &text) const
{
    static constexpr QStringView schemeEnd = u"://";
    const QStringView all(text);
    QString result;
    qsizetype copied = 0;
    const auto replace = [&](qsizetype begin, qsizetype end, const QString &mark) {
        result += all.sliced(copied, begin - copied);
        result += mark;
        copied = end;
    };
    Place place = Place::Text;
    for (qsizetype at = 0; at < all.size();) {
        const Unit unit = unitAt(all, at);
        qsizetype length = unit.length;
        if (unit.code == u':' && all.sliced(at).startsWith(schemeEnd)) {
            place = kindOfAddress(all, at);
            length = schemeEnd.size();
        } else if (unit.code == u'<' && all.sliced(at).startsWith(removedMark)) {
            length = removedMark.size();
        } else if (endsAddress(all[at])) {
            place = Place::Text;
        } else if (unit.code == u'~' && unitAt(all, at + 1).code == u'/' && beginsPath(all, at)) {
            place = Place::Home;
        } else if (unit.code == u'/' && beginsPath(all, at)) {
            place = Place::Path;
            if (const qsizetype name = accountName(all, at); name > 0) {
                const qsizetype end = endOfName(all, name);
                if (end > name)
                    replace(name, end, userMark);
                length = end - at;
            }
        } else if (place != Place::Resource && isWordCharacter(unit)
                   && !isWordCharacter(unitBefore(all, at))) {
            const qsizetype user = userAt(all, at, place == Place::Path || place == Place::Address);
            const qsizetype computer = user > 0 ? 0 : computerAt(all, at);
            if (user > 0)
                replace(at, at + user, userMark);
            else if (computer > 0)
                replace(at, at + computer, computerMark);
            length = std::max({ unit.length, user, computer });
        }
        at += length;
    }
    result += all.sliced(copied);
    return result;
}

qsizetype Redaction::userAt(QStringView text, qsizetype at, bool isInPath) const
{
    const qsizetype length = m_userName.isEmpty() ? 0 : matchedLength(text, at, m_userName);
    const qsizetype end = at + length;
    if (length == 0 || isWordCharacter(unitAt(text, end)))
        return 0;
    // "ada@computer", "~ada"
    const bool isOfComputer = unitAt(text, end).code == u'@' && isWordCharacter(unitAt(text, end + 1));
    const bool isHome = unitBefore(text, at).code == u'~';
    return isInPath || isOfComputer || isHome || isInAccountParent(text, at) ? length : 0;
}

qsizetype Redaction::computerAt(QStringView text, qsizetype at) const
{
    for (const QString &name : m_hostNames) {
        const QStringView rest = text.sliced(at);
        if (!rest.startsWith(name, Qt::CaseInsensitive))
            continue;
        const Unit before = unitBefore(text, at);
        const Unit after = unitAt(rest, name.size());
        if (isWordCharacter(after) || after.code == u'-' || before.code == u'-')
            continue;
        const QStringView domain = rest.sliced(name.size());
        const bool isLocal
            = std::any_of(localDomains.begin(), localDomains.end(), [domain](QStringView local) {
                  return domain.startsWith(local, Qt::CaseInsensitive)
                      && !isWordCharacter(unitAt(domain, local.size()));
              });
        // "//computer/", "ada@computer"
        const bool isHost
            = (text.first(at).endsWith(u"//") || before.code == u'@') && endsName(text, at + name.size());
        if (isLocal || isHost || isTelling(name))
            return name.size();
    }
    return 0;
}
