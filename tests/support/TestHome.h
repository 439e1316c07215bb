#pragma once

#include <QByteArray>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

/// A home folder of the test's own for as long as this object lives: HOME, XDG_DATA_HOME and XDG_CONFIG_HOME
/// point into a fresh temporary folder, so that tests never touch the files of whoever runs them. A `name` is
/// relative to the home, or the absolute path of something in it. Main thread.
class TestHome final {
public:
    TestHome()
    {
        if (!m_folder.isValid())
            qFatal("No temporary folder could be made for the test.");
        set("HOME", path());
        set("XDG_DATA_HOME", dataHome());
        set("XDG_CONFIG_HOME", filePath(QStringLiteral("config")));
    }

    ~TestHome()
    {
        for (const auto &[name, value] : m_before) {
            value.isNull() ? qunsetenv(name.constData()) : qputenv(name.constData(), value);
        }
    }

    QString path() const { return m_folder.path(); }
    QString dataHome() const { return filePath(QStringLiteral("data")); }
    QString filePath(const QString &name) const { return QDir(path()).filePath(name); }
    /// The same path in bytes, for system calls.
    QByteArray bytes(const QString &name) const { return QFile::encodeName(filePath(name)); }

    /// Writes a file in the home, creates the folders above it, and returns its path.
    QString write(const QString &name, const QByteArray &content) const
    {
        const QString file = withFoldersAbove(name);
        QFile out(file);
        if (!out.open(QIODevice::WriteOnly) || out.write(content) != content.size())
            qFatal("%s could not be written.", qPrintable(file));
        return file;
    }

    /// Makes a symbolic link in the home, creates the folders above it, and returns its path.
    QString link(const QString &name, const QString &target) const
    {
        const QString link = withFoldersAbove(name);
        if (!QFile::link(target, link))
            qFatal("%s could not be linked.", qPrintable(link));
        return link;
    }

    /// Makes a folder in the home and the folders above it, and returns its path.
    QString folder(const QString &name) const
    {
        const QString folder = filePath(name);
        if (!QDir().mkpath(folder))
            qFatal("%s could not be made.", qPrintable(folder));
        return folder;
    }

    /// Makes a named pipe in the home, creates the folders above it, and returns its path.
    QString pipe(const QString &name) const
    {
        const QString pipe = withFoldersAbove(name);
        if (::mkfifo(QFile::encodeName(pipe).constData(), 0600) != 0)
            qFatal("%s could not be made.", qPrintable(pipe));
        return pipe;
    }

    void setMode(const QString &name, mode_t mode) const
    {
        if (::chmod(bytes(name).constData(), mode) != 0)
            qFatal("%s could not be given other permissions.", qPrintable(name));
    }

    /// The permissions of what is at `name`, links followed.
    mode_t mode(const QString &name) const
    {
        struct stat status = {};
        return ::stat(bytes(name).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
    }

    /// What a file contains, or "(unreadable)".
    QByteArray read(const QString &name) const
    {
        QFile file(filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "(unreadable)";
    }

    /// The names of all that is in a folder, sorted.
    QStringList list(const QString &name = {}) const
    {
        return QDir(filePath(name)).entryList(anything, QDir::Name);
    }

    /// The paths, relative to a folder, of all that is in it and in its sub-folders, sorted.
    QStringList tree(const QString &name = {}) const
    {
        const QDir folder(filePath(name));
        QStringList paths;
        QDirIterator entries(folder.path(), anything, QDirIterator::Subdirectories);
        while (entries.hasNext())
            paths << folder.relativeFilePath(entries.next());
        paths.sort();
        return paths;
    }

private:
    static constexpr QDir::Filters anything
        = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;

    QString withFoldersAbove(const QString &name) const
    {
        QDir().mkpath(QFileInfo(filePath(name)).path());
        return filePath(name);
    }

    void set(const QByteArray &name, const QString &value)
    {
        m_before.append({ name, qgetenv(name.constData()) });
        qputenv(name.constData(), QFile::encodeName(value));
    }

    QTemporaryDir m_folder;
    QList<std::pair<QByteArray, QByteArray>> m_before;
};
