#pragma once

#include <QByteArrayView>
#include <QString>

/// The game's licence and author, in the words of its own licence file.
struct LicenseInfo {
    QString name;
    QString author;

    bool operator==(const LicenseInfo &) const = default;

    /// Parses the text of a licence file, in UTF-8. Takes the name from its first non-empty line, and the
    /// author from its first copyright line without the word, the signs and the years.
    static LicenseInfo parse(QByteArrayView text);
};

/// Parses the first entry of `root`, in listing order, whose name begins with LICENSE or COPYING in any
/// letter case. An unreadable one counts as empty.
LicenseInfo licenseInfo(const QString &root);
