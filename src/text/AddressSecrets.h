#pragma once

#include <QString>
#include <QStringView>

/// Stands for a password or token that was left out.
inline constexpr QStringView removedMark = u"<removed>";

/// `line` without what gives access to something: user names and passwords in addresses, parameters of
/// addresses that hold tokens, keys or signatures, and the values of headers such as "Authorization".
/// `removedMark` stands for each of them; the rest of the address stays. Takes time in proportion to the
/// line's length. Any thread.
QString withoutSecrets(const QString &line);
