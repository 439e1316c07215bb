#pragma once

#include "Identity.h"

/// The user who runs the launcher, and the computer. Asks the system's user database, which may be in the
/// network and slow: not for the main thread.
Identity ownIdentity();
