#pragma once

#include <QLatin1StringView>

/// Every name that the launcher writes to the disk, on one page. Paths puts them together.
///
///     Vantor Platformer/                  the launcher's folder
///         Game/                           the game project
///             .imported-4.3               the engine build that imported it
///         Engine/4.3-mono/                one folder for each engine build
///         Temp/UUID/                      scratch, removed by whoever made it
///             game.zip.part, game.zip     the game's archive, while it arrives and whole
///             extract/                    the game, unpacked
///             Godot_….zip                 an engine's archive, named by its makers
///             engine/, previous/          an engine, unpacked; the broken one that it replaces
///             Game/, replaced/            the old game while it may be put back, and afterwards
///         .vantor-platformer-removed-UUID what is being removed; also beside the launcher's folder
///     .write-UUID                         a file's new content, beside the file
namespace DiskNames {

constexpr QLatin1StringView root("Vantor Platformer");
constexpr QLatin1StringView game("Game");
constexpr QLatin1StringView engines("Engine");
constexpr QLatin1StringView temp("Temp");

constexpr QLatin1StringView monoSuffix("-mono"); // after an engine build's version
constexpr QLatin1StringView importMarkerPrefix(".imported-"); // before that name

constexpr QLatin1StringView gameArchive("game.zip");
constexpr QLatin1StringView partSuffix(".part");
constexpr QLatin1StringView unpackedGame("extract");
constexpr QLatin1StringView unpackedEngine("engine");
constexpr QLatin1StringView previousEngine("previous");
constexpr QLatin1StringView replacedGame("replaced");

// A UUID follows.
constexpr QLatin1StringView removedPrefix(".vantor-platformer-removed-");
constexpr QLatin1StringView writtenPrefix(".write-");

}
