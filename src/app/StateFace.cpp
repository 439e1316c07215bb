#include "StateFace.h"

StateFace stateFace(const AppState &state, bool hasFailureMessage)
{
    using Dot = StateFace::Dot;
    using Action = StateFace::Action;

    switch (state.kind()) {
    case AppState::Case::Downloading:
        return { Dot::Orange, QStringLiteral("Downloading"), Action::Progress, false, {} };
    case AppState::Case::Needs:
        return { Dot::Red, QStringLiteral("Needs something"), Action::Play, true,
                 hasFailureMessage ? QString() : state.text() };
    case AppState::Case::NotDownloaded:
        return { Dot::Grey, QStringLiteral("Not downloaded"), Action::Play, true, {} };
    case AppState::Case::SettingUp:
        return { Dot::Orange, QStringLiteral("Setting up"), Action::Progress, false, {} };
    case AppState::Case::Ready:
        return { Dot::Green, QStringLiteral("Ready"), Action::Play, false, {} };
    case AppState::Case::Starting:
        return { Dot::Orange, QStringLiteral("Starting\u2026"), Action::Stop, false, {} };
    case AppState::Case::Playing:
        return { Dot::Green, QStringLiteral("Playing"), Action::Stop, false, {} };
    }
    return {};
}

StopTarget stopTarget(bool gameIsRunning) { return gameIsRunning ? StopTarget::Game : StopTarget::Start; }

MaintenanceFace maintenanceFace(bool gameIsRunning, bool isWorking)
{
    return { .canReplace = !gameIsRunning && !isWorking, .canRemove = !gameIsRunning };
}
