#pragma once

#include <QUrl>

/// The program: builds everything and passes it in, shows the window and runs until the player leaves.
namespace Launcher {

/// Downloads come from `codeHost`. Gives the program's exit status. `program` is the name that it was started
/// with; the launcher has no options, and those of Qt are none of its own either. Called once, from main.
int run(char *program, const QUrl &codeHost);

}
