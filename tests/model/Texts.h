#pragma once

#include "CodeHost.h"
#include "EngineManager.h"
#include "ExitReport.h"
#include "Paths.h"

#include <QFileInfo>
#include <QStringList>

/// What the launcher says, where more than one test reads it. Any other text stands in the test that is about
/// it.
namespace Texts {

inline const QString cancelled = QStringLiteral("Cancelled.");
inline const QString updated = QStringLiteral("The game was updated.");
inline const QString removed = QStringLiteral("Everything was removed.");
inline const QString nothingDownloaded = QStringLiteral("Nothing is downloaded yet.");
inline const QString noSaves
    = QStringLiteral("No save files yet. Godot creates them when the game first saves something.");
inline const QString noProject
    = QStringLiteral("The downloaded game has no project.godot file, so it cannot be started.");
inline const QString notUnpacked = QStringLiteral("Could not unpack game.zip (ditto exit code 1).");
inline const QString unpackingGame = QStringLiteral("Unpacking the game");
inline const QString unpackingEngine = QStringLiteral("Unpacking the engine");
inline const QString noMatch = QStringLiteral(
    "The Godot download did not match its official checksum, so it was thrown away. Please try again.");
inline const QString checksumMatches = QStringLiteral("Checksum matches");
inline const QString nothingImported = QStringLiteral("No imported files found yet.");
inline const QString startsAnyway
    = QStringLiteral("Setup did not report imported files; trying to start the game anyway.");

inline QString stopped()
{
    return *exitReport({ .status = 15, .seconds = 60, .stoppedByUser = true }).logLine;
}
inline QString closedEarly(int seconds, int status)
{
    return *exitReport({ .status = status, .seconds = double(seconds), .stoppedByUser = false }).failure;
}
inline QString refused(int status, const QString &file = QStringLiteral("master.zip"))
{
    return QStringLiteral("The server answered with error %1 for %2.").arg(status).arg(file);
}
inline QString noList(int status)
{
    return QStringLiteral("Could not get the checksum list (server error %1).").arg(status);
}
inline QString notListed(const QString &file)
{
    return QStringLiteral("The official checksum list has no entry for %1.").arg(file);
}
inline QString notStarted(const QString &program, const QString &reason)
{
    return QStringLiteral("Could not start %1: %2").arg(QFileInfo(program).fileName(), reason);
}
inline QString importPass(int pass, qint64 engineLine = 4)
{
    return QStringLiteral("First-time setup, pass %1: godot %2 --path %3 --quit")
        .arg(QString::number(pass),
             engineLine < 4 ? QStringLiteral("--no-window --editor") : QStringLiteral("--headless --import"),
             Paths::gameFolder());
}
inline QString passEnded(int status)
{
    return QStringLiteral("Setup pass ended with exit code %1").arg(status);
}
inline QString starting(const EngineSpec &spec)
{
    return QStringLiteral("Starting the game: %1 --path %2 --windowed")
        .arg(QFileInfo(EngineManager::executable(spec).value_or(QString())).fileName(), Paths::gameFolder());
}

/// The lines of the four steps.
inline QStringList steps(const EngineSpec &spec = { 4, QStringLiteral("4.6"), false })
{
    return { QStringLiteral("Step 1 of 4: downloading the game"),
             QStringLiteral("Step 2 of 4: downloading ") + spec.displayName(),
             QStringLiteral("Step 3 of 4: first-time setup, this can take a minute or more"),
             QStringLiteral("Step 4 of 4: starting the game") };
}

/// The launcher's own lines in the log of a first Play.
inline QStringList firstLog(const EngineSpec &spec)
{
    return {
        QStringLiteral("Downloading the game from %1/Kestrelwood/Vantor/archive/refs/heads/master.zip")
            .arg(CodeHost::address().toString()),
        unpackingGame,
        QStringLiteral("Game ready in ") + Paths::gameFolder(),
        QStringLiteral("Looking up the official checksum for ") + spec.fileName(),
        QStringLiteral("Downloading %1 from %2%3").arg(spec.displayName(), spec.baseURL(), spec.fileName()),
        QStringLiteral("Checking the download against the official SHA-512 checksum"),
        checksumMatches,
        unpackingEngine,
        QStringLiteral(
            "Clearing the macOS download flag on the verified engine (so it can open without a warning)"),
        importPass(1, spec.major),
        starting(spec),
    };
}

}
