#pragma once

#include <QByteArrayView>
#include <QString>

/// Under which licence the game is, and whose it is, in the words of its own licence file.
struct LicenseInfo {
    QString name;
    QString author;

    bool operator==(const LicenseInfo &) const = default;

    /// From the text of a licence file, in UTF-8: its first line that is not empty, and its first copyright
    /// line without the word, the signs and the years.
    static LicenseInfo parse(QByteArrayView text);
};

/// From the first entry of `root`, in listing order, whose name begins with LICENSE or COPYING in any letter
/// case. One that cannot be read counts as empty.
LicenseInfo licenseInfo(const QString &root);
