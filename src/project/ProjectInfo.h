#pragma once

#include <QString>
#include <QStringList>

/// The facts that the launcher reads from a game project: what it needs to choose an engine, and what it
/// shows.
struct ProjectInfo {
    /// The folder that holds project.godot.
    QString root;
    QString name = QStringLiteral("Vantor");
    /// The project file's format: 5 for the 4.x engines, 4 for 3.x; 0 when absent or not a number.
    qint64 configVersion = 0;
    /// The engine's feature tags, in file order.
    QStringList features;
    /// A resource path of the engine ("res://..."), as written.
    QString mainScene;
    bool isCSharp = false;
    /// One short description of the game.
    QString blurb;
    QString licenseName;
    QString author;
    /// How to play, one entry per line shown.
    QStringList controls;
    bool controlsFromReadme = false;

    bool operator==(const ProjectInfo &) const = default;
};
