#pragma once

#include "EngineSpec.h"
#include "ProjectInfo.h"
#include "SystemFacts.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

class Redaction;

/// What the player saves to pass on when something does not work: versions, settings, free space and the log.
/// What is unknown has no value or is empty, and the text says so. Plain data.
struct Report {
    QDateTime time;
    QString launcherVersion;
    SystemFacts system;

    /// The build that the game needs.
    std::optional<EngineSpec> engine;
    std::optional<bool> isEngineInstalled;
    std::optional<bool> isGameDownloaded;
    std::optional<bool> isGameImported;
    std::optional<ProjectInfo> game;

    bool fullscreen = false;
    QString resolution;

    /// The launcher's folder, and the room that is left on its file system, in bytes.
    QString folder;
    std::optional<qint64> freeSpace;

    /// The sentence of the failure that is shown, if any.
    std::optional<QString> failure;
    QStringList log;

    /// The report as a text file in UTF-8, redacted throughout. Each heading is followed by lines like
    /// "Qt: 6.4.2"; the log comes last. Any thread.
    QByteArray text(const Redaction &redaction) const;
};
