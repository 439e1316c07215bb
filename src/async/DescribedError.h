#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

/// The base of all errors that are shown to the player: one full sentence.
class DescribedError : public std::exception {
public:
    /// The sentence, unchanged.
    const QString &errorDescription() const { return m_text; }
    const char *what() const noexcept override { return m_utf8.constData(); }

protected:
    explicit DescribedError(const QString &sentence)
        : m_text(sentence)
        , m_utf8(sentence.toUtf8())
    {
    }

private:
    QString m_text;
    QByteArray m_utf8;
};

/// The text about `error` for the player: its sentence, or the platform's description of any other error.
inline QString userFacingDescription(const std::exception &error)
{
    const auto *described = dynamic_cast<const DescribedError *>(&error);
    return described ? described->errorDescription() : QString::fromUtf8(error.what());
}
