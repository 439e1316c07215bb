#pragma once

#include <QString>

#include <exception>

/// The one error type that the launcher words itself: a complete sentence for the player, and nothing else.
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

/// What the player reads about `error`: an AppError's own sentence, else the platform's description of it.
QString userFacingDescription(const std::exception &error);
