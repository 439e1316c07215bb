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
    /// Whether to show the hint that Play downloads something first.
    bool showsHint = false;
    /// What the launcher needs, unless a failure report already says it; otherwise empty.
    QString needsText = {};

    bool operator==(const StateFace &) const = default;
};

StateFace stateFace(const AppState &state, bool hasFailureMessage);

/// What Stop ends: the game, or a start that has no running game yet.
enum class StopTarget { Game, Start };
StopTarget stopTarget(bool gameIsRunning);

/// Which maintenance the player can choose: nothing while the game is running, and only removal while an
/// action is running, which it cancels.
struct MaintenanceFace {
    bool canReplace = true;
    bool canRemove = true;

    bool operator==(const MaintenanceFace &) const = default;
};
MaintenanceFace maintenanceFace(bool gameIsRunning, bool isWorking);
