#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

/// A failed transfer, as one full sentence for the player: "The server could not be found."
class TransferError final : public std::exception {
public:
    explicit TransferError(const QString &description)
        : m_description(description)
        , m_utf8(description.toUtf8())
    {
    }

    /// The error for libcurl's result `code`; `detail` is libcurl's own message and may be empty.
    static TransferError fromCurl(int code, const QByteArray &detail);

    static TransferError timedOut();
    static TransferError tooLarge();
    static TransferError notUnderstood();
    static TransferError couldNotBegin();

    const QString &description() const { return m_description; }
    const char *what() const noexcept override { return m_utf8.constData(); }

private:
    QString m_description;
    QByteArray m_utf8;
};
