#pragma once

#include "DescribedError.h"

/// A file system error, as one full sentence that names the file and the system's reason: "“master.zip” could
/// not be moved: No space left on device."
class FileError final : public DescribedError {
public:
    /// `action` is the past participle of what could not be done ("created", "moved"); `code` is an errno
    /// value.
    FileError(const QString &path, const QString &action, int code);

    /// For a folder that could not be created because of `place`, its nearest existing ancestor. Names
    /// `place` by its whole path, since that is what the player can mend: "A folder could not be created in
    /// “/home/me/.local/share”: Permission denied."
    static FileError noNewFolderIn(const QString &place, int code);

    int code() const { return m_code; }

private:
    FileError(const QString &description, int code);

    int m_code = 0;
};
