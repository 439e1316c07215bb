#pragma once

#include "HttpReply.h"

#include <QList>
#include <QString>

/// One way in which a server, or something in between, can misbehave, and the sentence that the player then
/// reads. "(…)" in a sentence stands for a reason in the TLS library's words.
struct Misbehaviour {
    enum class Connection { Plain, Secure, SelfSigned, Expired, OfAnotherHost };
    enum class Sound { Loud, Silent };

    const char *name = nullptr;
    HttpReply reply = {};
    QString forGame = {};
    QString forList = {};
    QString forEngine = {};
    /// Silent: only the silence limit ends the transfer.
    Sound sound = Sound::Loud;
    Connection connection = Connection::Plain;
    /// Newer versions of libcurl notice it themselves: then the connection was lost.
    bool mayCountAsLost = false;
};

/// The limit for a body in these tests, in bytes.
inline constexpr qint64 misbehaviourCeiling = 8'000'000;

/// All cases. `engineArchive` is the file name in the engine's sentences.
QList<Misbehaviour> allMisbehaviours(const QString &engineArchive);
