#pragma once

#include "AppModel.h"
#include "Pasteboard.h"
#include "Preferences.h"
#include "Workspace.h"

/// The launcher's model on the player's folders, which the script has set up.
struct MeasuredModel {
    Preferences preferences;
    DesktopWorkspace workspace;
    DesktopPasteboard pasteboard;
    AppModel model { preferences, workspace, pasteboard };
};
