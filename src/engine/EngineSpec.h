#pragma once

#include <QString>

/// Identifies one official engine build.
struct EngineSpec {
    /// The engine's major version, 3 or 4.
    qint64 major = 4;
    /// The release number without suffix: "4.7.2", "3.6.3", or a project's own feature tag such as "4.3".
    QString version;
    /// The .NET build, for projects written in C#.
    bool isMono = false;

    /// The release archive's file name: "Godot_v4.7.2-stable_macos.universal.zip" on macOS.
    QString fileName() const;
    /// The address of the release's downloads, ending in "/".
    QString baseURL() const;
    /// "Godot 4.7.2", or "Godot 4.7.2 (.NET)".
    QString displayName() const;

    bool operator==(const EngineSpec &) const = default;
};
