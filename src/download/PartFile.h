#pragma once

#include "FileDescriptor.h"

#include <QByteArrayView>
#include <QString>

/// A file being downloaded: written beside its destination, then renamed to it. Created by the first write;
/// deleted with this object unless it has been moved into place. Not thread-safe.
class PartFile final {
public:
    explicit PartFile(const QString &destination);
    ~PartFile();
    PartFile(const PartFile &) = delete;
    PartFile &operator=(const PartFile &) = delete;

    /// Appends `bytes`. Throws FileError.
    void write(QByteArrayView bytes);

    /// Throws away what was written. The next write is the first again. Throws FileError.
    void beginAgain();

    /// The file's size in bytes, 0 before the first write; -1 if it cannot be determined.
    qint64 size() const;

    /// Replaces whatever is at the destination with the file. Throws FileError.
    void moveIntoPlace();

    /// Deletes the unfinished file, if there is one.
    void discard() noexcept;

private:
    void open();

    QString m_destination;
    QString m_path;
    FileDescriptor m_file;
    bool m_exists = false;
};
