#pragma once

#include <QString>

#include <exception>

/// An error that the launcher words itself: one complete sentence for the player, and nothing else.
class AppError final : public std::exception {
public:
    static AppError message(const QString &text) { return AppError(text); }

    /// The sentence, unchanged.
    const QString &errorDescription() const { return m_text; }
    const char *what() const noexcept override { return m_utf8.constData(); }

private:
    explicit AppError(const QString &text)
        : m_text(text)
        , m_utf8(text.toUtf8())
    {
    }

    QString m_text;
    QByteArray m_utf8;
};

/// The text about `error` for the player: an AppError's own sentence, otherwise the platform's description.
QString userFacingDescription(const std::exception &error);
