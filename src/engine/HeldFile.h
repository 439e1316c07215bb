#pragma once

#include <QString>

#include <sys/stat.h>

#include <chrono>

/// A file that is held open, so that what is checked and what is used afterwards is one and the same file,
/// whatever becomes of its name, or of the folders above it, meanwhile.
class HeldFile final {
public:
    /// Opens `path`, which must be a file and no link to one. Throws FileError.
    explicit HeldFile(const QString &path);
    ~HeldFile();
    HeldFile(const HeldFile &) = delete;
    HeldFile &operator=(const HeldFile &) = delete;

    /// A path that leads every program of this user to this very file. Where the system has none such
    /// (macOS), the name that it was opened by.
    QString path() const;

    /// How long to wait before reading it, so that every later change shows in `isUntouched`: the clock that
    /// files are stamped with stands still for some milliseconds at a time.
    std::chrono::nanoseconds timeUntilChangesShow() const;

    /// Whether nobody has written to it, moved, linked or replaced it since it was opened: each of these
    /// changes the file's number or its time of change, which no program can set.
    bool isUntouched() const;

private:
    const QString m_path;
    int m_descriptor = -1;
    struct stat m_info = {};
};
