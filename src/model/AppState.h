#pragma once

#include <QString>

/// The launcher's state as the window shows it. Two of the seven cases carry a text.
class AppState final {
public:
    enum class Case {
        Downloading, ///< something is being downloaded and unpacked; the text says what
        Needs, ///< a failure is shown; the text is its message
        NotDownloaded, ///< game, engine or import is missing; Play starts the full flow
        SettingUp, ///< the first-time import runs
        Ready, ///< everything is in place; Play starts the game at once
        Starting, ///< the game was just started
        Playing, ///< the game has been running for at least 4 seconds
    };

    static AppState downloading(const QString &what) { return { Case::Downloading, what }; }
    static AppState needs(const QString &message) { return { Case::Needs, message }; }
    static AppState notDownloaded() { return { Case::NotDownloaded, {} }; }
    static AppState settingUp() { return { Case::SettingUp, {} }; }
    static AppState ready() { return { Case::Ready, {} }; }
    static AppState starting() { return { Case::Starting, {} }; }
    static AppState playing() { return { Case::Playing, {} }; }

    Case kind() const { return m_case; }
    /// What is being downloaded, or the failure message; empty in the other cases.
    const QString &text() const { return m_text; }

    bool operator==(const AppState &) const = default;

private:
    AppState(Case kind, const QString &text)
        : m_case(kind)
        , m_text(text)
    {
    }

    Case m_case = Case::NotDownloaded;
    QString m_text;
};
