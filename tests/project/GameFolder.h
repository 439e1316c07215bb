#pragma once

#include "TestHome.h"

#include <sys/stat.h>

#include <filesystem>

/// A folder that holds what a test puts there. It lies in a home of the test's own, and every name is
/// relative to it. What cannot be made aborts the test program.
class GameFolder final {
public:
    using File = std::pair<const char *, QByteArray>;
    using Files = QList<File>;

    GameFolder() = default;
    GameFolder(std::initializer_list<File> files)
        : GameFolder(Files(files))
    {
    }
    explicit GameFolder(const Files &files)
    {
        for (const auto &[name, content] : files)
            write(name, content);
    }

    QString path(QAnyStringView name = {}) const { return m_home.filePath(name.toString()); }

    QString write(QAnyStringView name, const QByteArray &content) const
    {
        return m_home.write(name.toString(), content);
    }

    QByteArray content(QAnyStringView name) const { return m_home.read(name.toString()); }

    void makeFolder(QAnyStringView name) const { check(QDir().mkpath(path(name)), name); }

    void link(QAnyStringView name, const QString &target) const { m_home.link(name.toString(), target); }

    void makePipe(QAnyStringView name) const
    {
        check(::mkfifo(m_home.bytes(name.toString()).constData(), 0600) == 0, name);
    }

    void setMode(QAnyStringView name, mode_t mode) const { m_home.setMode(name.toString(), mode); }
    mode_t mode(QAnyStringView name) const { return m_home.mode(name.toString()); }

    /// The names of what lies directly in the folder, in listing order.
    QStringList listed() const
    {
        QStringList names;
        for (const auto &entry : std::filesystem::directory_iterator(QFile::encodeName(path()).toStdString()))
            names.append(QString::fromStdString(entry.path().filename().string()));
        return names;
    }

private:
    static void check(bool isMade, QAnyStringView name)
    {
        if (!isMade)
            qFatal("%s could not be made.", qPrintable(name.toString()));
    }

    TestHome m_home;
};
