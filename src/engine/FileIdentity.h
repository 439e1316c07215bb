#pragma once

#include "FileError.h"

#include <QFile>
#include <QString>

#include <sys/stat.h>

#include <cerrno>
#include <tuple>

/// Tells whether a path still leads to the very file that it led to, with nobody having written, moved or
/// replaced it: each of these changes the file's number or its time of change, which no program can set.
class FileIdentity final {
public:
    /// Throws FileError.
    explicit FileIdentity(const QString &path)
    {
        if (lstat(QFile::encodeName(path).constData(), &m_info) != 0)
            throw FileError(path, QStringLiteral("read"), errno);
    }

    friend bool operator==(const FileIdentity &one, const FileIdentity &other)
    {
        return one.facts() == other.facts();
    }

private:
    std::tuple<dev_t, ino_t, off_t, qint64, qint64> facts() const
    {
#ifdef Q_OS_MACOS
        const timespec changed = m_info.st_ctimespec;
#else
        const timespec changed = m_info.st_ctim;
#endif
        return { m_info.st_dev, m_info.st_ino, m_info.st_size, changed.tv_sec, changed.tv_nsec };
    }

    struct stat m_info = {};
};
