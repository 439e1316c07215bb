#include "ChildEnvironment.h"

#include <algorithm>
#include <array>

extern char **environ;

namespace {

/// Tokens that grant the focus once; opening the launcher's window has used them up.
constexpr std::array usedUp = { "XDG_ACTIVATION_TOKEN=", "DESKTOP_STARTUP_ID=" };

bool isUsedUp(const QByteArray &variable)
{
    return std::any_of(usedUp.begin(), usedUp.end(),
                       [&variable](const char *name) { return variable.startsWith(name); });
}

}

QByteArrayList childEnvironment()
{
    QByteArrayList variables;
    for (char **variable = environ; variable && *variable; ++variable) {
        if (const QByteArray text(*variable); !isUsedUp(text))
            variables.append(text);
    }
    return variables;
}
