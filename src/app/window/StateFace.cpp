#include "StateFace.h"

StateFace stateFace(const AppState &state, bool hasFailureMessage)
{
    using Dot = StateFace::Dot;
    using Action = StateFace::Action;

    switch (state.kind()) {
    case AppState::Case::Downloading:
        return { .dot = Dot::Orange, .label = QStringLiteral("Downloading"), .action = Action::Progress };
    case AppState::Case::Needs:
        return { .dot = Dot::Red,
                 .label = QStringLiteral("Needs something"),
                 .action = Action::Play,
                 .showsHint = true,
                 .needsText = hasFailureMessage ? QString() : state.text() };
    case AppState::Case::NotDownloaded:
        return { .dot = Dot::Grey,
                 .label = QStringLiteral("Not downloaded"),
                 .action = Action::Play,
                 .showsHint = true };
    case AppState::Case::SettingUp:
        return { .dot = Dot::Orange, .label = QStringLiteral("Setting up"), .action = Action::Progress };
    case AppState::Case::Ready:
        return { .dot = Dot::Green, .label = QStringLiteral("Ready"), .action = Action::Play };
    case AppState::Case::Starting:
        return { .dot = Dot::Orange, .label = QStringLiteral("Starting\u2026"), .action = Action::Stop };
    case AppState::Case::Playing:
        return { .dot = Dot::Green, .label = QStringLiteral("Playing"), .action = Action::Stop };
    }
    return {};
}

StopTarget stopTarget(bool gameIsRunning) { return gameIsRunning ? StopTarget::Game : StopTarget::Start; }

MaintenanceFace maintenanceFace(bool gameIsRunning, bool isWorking)
{
    return { .canReplace = !gameIsRunning && !isWorking, .canRemove = !gameIsRunning };
}
