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

using namespace Qt::StringLiterals;

inline const QString cancelled = u"Cancelled."_s;
inline const QString updated = u"The game was updated."_s;
inline const QString removed = u"Everything was removed."_s;
inline const QString nothingDownloaded = u"Nothing is downloaded yet."_s;
inline const QString noSaves
    = u"No save files yet. Godot creates them when the game first saves something."_s;
inline const QString noProject = u"The downloaded game has no project.godot file, so it cannot be started."_s;
inline const QString notUnpacked = u"Could not unpack game.zip (ditto exit code 1)."_s;
inline const QString unpackingGame = u"Unpacking the game"_s;
inline const QString unpackingEngine = u"Unpacking the engine"_s;
inline const QString noMatch
    = u"The Godot download did not match its official checksum, so it was thrown away. Please try again."_s;
inline const QString checksumMatches = u"Checksum matches"_s;
inline const QString nothingImported = u"No imported files found yet."_s;
inline const QString startsAnyway
    = u"Setup did not report imported files; trying to start the game anyway."_s;

inline QString stopped()
{
    return *exitReport({ .status = 15, .seconds = 60, .stoppedByUser = true }).logLine;
}
/// Of a game that ended within ten seconds.
inline QString closedEarly(double seconds, int status)
{
    return *exitReport({ .status = status, .seconds = seconds, .stoppedByUser = false }).failure;
}
inline QString refused(int status, const QString &file = u"master.zip"_s)
{
    return u"The server answered with error %1 for %2."_s.arg(status).arg(file);
}
inline QString noList(int status)
{
    return u"Could not get the checksum list (server error %1)."_s.arg(status);
}
inline QString notListed(const QString &file)
{
    return u"The official checksum list has no entry for %1."_s.arg(file);
}
inline QString importPass(int pass, qint64 engineLine = 4)
{
    return u"First-time setup, pass %1: godot %2 --path %3 --quit"_s.arg(
        QString::number(pass), engineLine < 4 ? u"--no-window --editor"_s : u"--headless --import"_s,
        Paths::gameFolder());
}
inline QString passEnded(int status) { return u"Setup pass ended with exit code %1"_s.arg(status); }
inline QString starting(const EngineSpec &spec)
{
    return u"Starting the game: %1 --path %2 --windowed"_s.arg(
        QFileInfo(EngineManager::executable(spec).value_or(QString())).fileName(), Paths::gameFolder());
}

/// The lines of the four steps.
inline QStringList steps(const EngineSpec &spec = { 4, u"4.6"_s, false })
{
    return { u"Step 1 of 4: downloading the game"_s, u"Step 2 of 4: downloading "_s + spec.displayName(),
             u"Step 3 of 4: first-time setup, this can take a minute or more"_s,
             u"Step 4 of 4: starting the game"_s };
}

/// Those of them that have these numbers.
inline QStringList onlySteps(const QList<int> &numbers)
{
    QStringList lines;
    for (const int number : numbers)
        lines << steps().at(number - 1);
    return lines;
}

/// The launcher's own lines in the log of a first Play.
inline QStringList firstLog(const EngineSpec &spec)
{
    return {
        u"Downloading the game from %1/Kestrelwood/Vantor/archive/refs/heads/master.zip"_s.arg(
            CodeHost::address().toString()),
        unpackingGame,
        u"Game ready in "_s + Paths::gameFolder(),
        u"Looking up the official checksum for "_s + spec.fileName(),
        u"Downloading %1 from %2%3"_s.arg(spec.displayName(), spec.baseURL(), spec.fileName()),
        u"Checking the download against the official SHA-512 checksum"_s,
        checksumMatches,
        unpackingEngine,
        u"Clearing the macOS download flag on the verified engine (so it can open without a warning)"_s,
        importPass(1, spec.major),
        starting(spec),
    };
}

}
