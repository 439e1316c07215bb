#pragma once

#include "TestHome.h"
#include "ZipBuilder.h"

#include <QCoreApplication>
#include <QProcess>

/// What the unpack program printed, and its exit status; -1 if a signal ended it.
struct Unpacked {
    int status = -1;
    QString problems;
    QString output;

    bool operator==(const Unpacked &) const = default;
};

/// Describes `result` in a failed comparison.
inline char *toString(const Unpacked &result)
{
    return qstrdup(qPrintable(QStringLiteral("%1 after “%2%3”")
                                  .arg(QString::number(result.status), result.problems, result.output)));
}

/// A run that succeeded without a word, and one that failed with this line.
inline const Unpacked success { 0, {}, {} };
inline Unpacked problem(const QString &line) { return { 1, line + QLatin1Char('\n'), {} }; }

/// Runs the unpack program in a home of its own, with an archive and a folder to unpack into.
class Unpacker final {
public:
    static QString program()
    {
        return QCoreApplication::applicationDirPath() + QStringLiteral("/vantor-unpack");
    }

    static Unpacked run(const QStringList &arguments)
    {
        QProcess process;
        process.start(program(), arguments);
        if (!process.waitForFinished())
            qFatal("The unpack program did not end: %s", qPrintable(process.errorString()));
        return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                 QString::fromUtf8(process.readAllStandardError()),
                 QString::fromUtf8(process.readAllStandardOutput()) };
    }

    /// The archive and the folder lie in the folder `place`, which ends with "/", of the home.
    explicit Unpacker(const QString &place = QString())
        : m_place(place)
    {
    }

    const TestHome &home() const { return m_home; }
    QString archive() const { return m_home.filePath(m_place + QStringLiteral("archive.zip")); }
    QString folder() const { return m_home.filePath(m_place + QStringLiteral("folder")); }
    QStringList unpacking() const
    {
        return { QStringLiteral("-x"), QStringLiteral("-k"), archive(), folder() };
    }
    QStringList checking() const { return { QStringLiteral("--check"), archive() }; }

    void write(const QByteArray &archive) const
    {
        m_home.write(m_place + QStringLiteral("archive.zip"), archive);
    }

    Unpacked unpack(const ZipBuilder &builder) const
    {
        write(builder.bytes());
        return run(unpacking());
    }

    Unpacked check(const ZipBuilder &builder) const
    {
        write(builder.bytes());
        return run(checking());
    }

    QString unpacked(const QString &name) const { return folder() + QLatin1Char('/') + name; }

    QByteArray content(const QString &name) const { return m_home.read(unpacked(name)); }
    /// Whether unpacking left nothing in the folder.
    bool leftNothing() const { return m_home.list(folder()).isEmpty(); }

private:
    TestHome m_home;
    QString m_place;
};
