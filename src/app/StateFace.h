#pragma once

#include "AppState.h"

#include <QString>

/// What the window shows for a state of the launcher. Plain data, worked out without a window.
struct StateFace {
    enum class Dot { Red, Grey, Green, Orange };
    enum class Action { Play, Progress, Stop };

    Dot dot = Dot::Grey;
    QString label;
    Action action = Action::Play;
    /// Whether Play still has to download something, as far as the player needs to know.
    bool showsHint = false;
    /// What the launcher needs, when no failure report says it already; else empty.
    QString needsText = {};

    bool operator==(const StateFace &) const = default;
};

StateFace stateFace(const AppState &state, bool hasFailureMessage);

/// What Stop ends: the game, or a start that has no running game yet.
enum class StopTarget { Game, Start };
StopTarget stopTarget(bool gameIsRunning);

/// Which maintenance the player can choose: none of it goes together with a running game, and only the
/// removal together with a running action, which it ends.
struct MaintenanceFace {
    bool canReplace = true;
    bool canRemove = true;

    bool operator==(const MaintenanceFace &) const = default;
};
MaintenanceFace maintenanceFace(bool gameIsRunning, bool isWorking);
