#pragma once

#include "DescribedError.h"

/// A failed transfer, as one full sentence for the player: "The server could not be found."
class TransferError final : public DescribedError {
public:
    explicit TransferError(const QString &sentence)
        : DescribedError(sentence)
    {
    }

    /// The error for libcurl's result `code`; `detail` is libcurl's own message and may be empty.
    static TransferError fromCurl(int code, const QByteArray &detail);

    static TransferError timedOut();
    static TransferError tooLarge();
    static TransferError notUnderstood();
    static TransferError couldNotBegin();
};
