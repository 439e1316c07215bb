#pragma once

#include <QByteArrayView>
#include <QString>

/// A file on its way: written beside its destination, then moved there in one step, and gone when this object
/// goes before that. Made by the first write. One thread at a time.
class PartFile final {
public:
    explicit PartFile(const QString &destination);
    ~PartFile();
    PartFile(const PartFile &) = delete;
    PartFile &operator=(const PartFile &) = delete;

    /// Adds `bytes`. Throws FileError.
    void write(QByteArrayView bytes);

    /// Puts the file in place of whatever is at the destination. Throws FileError.
    void moveIntoPlace();

    /// Removes what was written.
    void discard() noexcept;

private:
    void open();
    void close();

    QString m_destination;
    QString m_path;
    int m_descriptor = -1;
    bool m_exists = false;
};
