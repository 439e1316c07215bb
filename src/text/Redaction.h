#pragma once

#include "Identity.h"

#include <QString>
#include <QStringList>

/// Makes lines of a log fit to be passed on: what tells who the player is, or gives access to something, is
/// left out, and what could harm a terminal is replaced.
///
/// - "~" stands for the home folder, wherever a path leads to it.
/// - "<user>" stands for the name of the account in addresses, in paths outside the home folder and in
///   "name@computer". By itself that name stays: it may be an ordinary word.
/// - "<computer>" stands for the computer's name in addresses and in "name@computer"; a name that is no
///   ordinary word, because it has a digit or a hyphen, is left out everywhere.
/// - "<removed>" stands for passwords and tokens, see withoutSecrets().
/// - Colours are dropped, other control characters replaced, see harmlessText().
///
/// A pure function of its arguments. Any thread.
class Redaction final {
public:
    explicit Redaction(const Identity &identity);

    /// Takes time in proportion to the line's length, whatever the line holds.
    QString redacted(const QString &line) const;

private:
    QString withoutHome(const QString &text) const;
    QString withoutNames(const QString &text) const;
    /// The length of the user's name in `text` at `at`; 0 if it is not there.
    qsizetype userAt(QStringView text, qsizetype at, bool isInPath) const;
    /// The same for the computer's name.
    qsizetype computerAt(QStringView text, qsizetype at) const;

    /// The longest first.
    QStringList m_homeFolders;
    QString m_userName;
    /// The whole name, and what stands before its first dot.
    QStringList m_hostNames;
};
