#pragma once

#include "TestHome.h"

/// Writes a shell script that runs `commands`, makes it executable, and returns its path.
inline QString shellScript(const TestHome &home, const QString &name, const QByteArray &commands)
{
    const QString file = home.write(name, "#!/bin/sh\n" + commands + "\n");
    home.setMode(name, 0700);
    return file;
}
