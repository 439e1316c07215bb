#pragma once

#include "HttpReply.h"

#include <QList>
#include <QString>

/// One way in which a server, or whoever stands between, can misbehave, and the sentence that the player
/// reads. "(…)" in a sentence stands for a reason that the TLS library words.
struct Misbehaviour {
    enum class Connection { Plain, Secure, SelfSigned, Expired, OfAnotherHost };
    enum class Sound { Loud, Silent };

    const char *name = nullptr;
    HttpReply reply = {};
    QString forGame = {};
    QString forList = {};
    QString forEngine = {};
    /// Whether only the limit of silence ends it.
    Sound sound = Sound::Loud;
    Connection connection = Connection::Plain;
};

/// The longest body that the table's transfers may have.
inline constexpr qint64 misbehaviourCeiling = 8'000'000;

/// All of them. `engineArchive` is the archive's name in the sentences.
QList<Misbehaviour> allMisbehaviours(const QString &engineArchive);
