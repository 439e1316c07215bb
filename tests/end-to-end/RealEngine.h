#pragma once

#include <QProcess>
#include <QString>

#include <cstdio>

/// The real engine that a test runs. ENGINE_LINE in the environment selects the engine line: 3 or 4.
namespace RealEngine {

/// The exit status of a test program that there is no engine for.
constexpr int skipped = 77;

inline QString line() { return qEnvironmentVariable("ENGINE_LINE"); }

/// The engine's program; empty, with the reason on standard error, if there is none.
inline QString program()
{
    QProcess tool;
    tool.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    tool.start(QStringLiteral(TOOLS_FOLDER "/get-engine"), { line() });
    if (tool.waitForFinished(-1) && tool.exitCode() == 0)
        return QString::fromUtf8(tool.readAllStandardOutput()).trimmed();
    std::fprintf(stderr, "Skipped: there is no engine of the %s line here.\n", qPrintable(line()));
    return QString();
}

}
