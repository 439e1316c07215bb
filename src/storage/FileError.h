#pragma once

#include <QString>

#include <exception>

/// A file system error, as one full sentence that names the file and the system's reason: "“master.zip” could
/// not be moved: No space left on device."
class FileError final : public std::exception {
public:
    /// `action` is the past participle of what could not be done ("created", "moved"); `code` is an errno
    /// value.
    FileError(const QString &path, const QString &action, int code);

    /// For a folder that could not be created because of `place`, its nearest existing ancestor. Names
    /// `place` by its whole path, since that is what the player can mend: "A folder could not be created in
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
