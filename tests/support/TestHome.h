#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

/// A home folder of the test's own for as long as this object lives: HOME, XDG_DATA_HOME and XDG_CONFIG_HOME
/// point into a fresh temporary folder, so that tests never touch the files of whoever runs them. Main
/// thread.
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
            if (value.isNull())
                qunsetenv(name.constData());
            else
                qputenv(name.constData(), value);
        }
    }

    TestHome(const TestHome &) = delete;
    TestHome &operator=(const TestHome &) = delete;

    QString path() const { return m_folder.path(); }
    QString dataHome() const { return filePath(QStringLiteral("data")); }
    QString filePath(const QString &name) const { return m_folder.filePath(name); }

    /// Writes a file in the home, creates the folders above it, and returns its path.
    QString write(const QString &name, const QByteArray &content) const
    {
        const QString file = filePath(name);
        QDir().mkpath(QFileInfo(file).path());
        QFile out(file);
        if (!out.open(QIODevice::WriteOnly) || out.write(content) != content.size())
            qFatal("%s could not be written.", qPrintable(file));
        return file;
    }

private:
    void set(const QByteArray &name, const QString &value)
    {
        m_before.append(
            { name, qEnvironmentVariableIsSet(name.constData()) ? qgetenv(name.constData()) : QByteArray() });
        qputenv(name.constData(), QFile::encodeName(value));
    }

    QTemporaryDir m_folder;
    QList<std::pair<QByteArray, QByteArray>> m_before;
};
