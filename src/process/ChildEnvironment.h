#pragma once

#include <QByteArrayList>

/// The environment for a child that is started now, as "NAME=value": the launcher's own, without the
/// variables that the desktop meant for the launcher alone. Main thread only: no other thread changes the
/// environment, and reading it on another one meanwhile could touch freed memory.
QByteArrayList childEnvironment();
