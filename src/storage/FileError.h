#pragma once

#include <QString>

#include <exception>

/// An error of the file system as the platform describes it, as one full sentence that names the file and the
/// reason: "“master.zip” could not be moved: No space left on device."
class FileError final : public std::exception {
public:
    /// `action` is what could not be done, in the past participle ("created", "moved"); `code` is an errno
    /// value.
    FileError(const QString &path, const QString &action, int code);

    /// A folder could not be created, because of `place`, the nearest thing above it that exists. Names
    /// `place` with its whole path, since that is what the player can mend: "A folder could not be created in
    /// “/home/me/.local/share”: Permission denied."
    static FileError noNewFolderIn(const QString &place, int code);

    const QString &description() const { return m_description; }
    int code() const { return m_code; }
    const char *what() const noexcept override { return m_utf8.constData(); }

private:
    FileError(const QString &description, int code);

    QString m_description;
    QByteArray m_utf8;
    int m_code = 0;
};
