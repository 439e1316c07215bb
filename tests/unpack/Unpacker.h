#pragma once

#include <QCoreApplication>
#include <QProcess>
#include <QStringList>

/// Runs the unpack program to its end.
struct Unpacker {
    int status = -1;
    QString problems;
    QString output;

    static QString program()
    {
        return QCoreApplication::applicationDirPath() + QStringLiteral("/vantor-unpack");
    }

    static Unpacker run(const QStringList &arguments)
    {
        QProcess process;
        process.start(program(), arguments);
        if (!process.waitForFinished())
            qFatal("The unpack program did not end: %s", qPrintable(process.errorString()));
        Unpacker result;
        result.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        result.problems = QString::fromUtf8(process.readAllStandardError());
        result.output = QString::fromUtf8(process.readAllStandardOutput());
        return result;
    }

    static Unpacker unpack(const QString &archive, const QString &folder)
    {
        return run({ QStringLiteral("-x"), QStringLiteral("-k"), archive, folder });
    }
};
