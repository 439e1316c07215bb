#pragma once

#include "DescribedError.h"

/// A failed transfer, as one full sentence for the player: "The server could not be found."
class TransferError final : public DescribedError {
public:
    /// Whether the same request may succeed a moment later.
    enum class Outlook { Final, Passing };

    explicit TransferError(const QString &sentence, Outlook outlook = Outlook::Final)
        : DescribedError(sentence)
        , m_outlook(outlook)
    {
    }

    /// Passing when the connection was lost or could not be made; final when the server, or whoever answered
    /// in its place, will probably say the same again.
    Outlook outlook() const { return m_outlook; }

    /// The error for libcurl's result `code`; `detail` is libcurl's own message and may be empty.
    static TransferError fromCurl(int code, const QByteArray &detail);

    static TransferError timedOut();
    static TransferError tooLarge();
    static TransferError notUnderstood();
    static TransferError couldNotBegin();

private:
    Outlook m_outlook;
};
