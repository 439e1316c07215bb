#pragma once

#include <QByteArrayList>

/// The environment of a child that is started now, as "NAME=value": the launcher's own, without what the
/// desktop gave to the launcher alone. To be asked for on the main thread: only that thread changes the
/// environment, and reading it meanwhile on another one could meet freed memory.
QByteArrayList childEnvironment();
