#pragma once

#include <QUrl>

/// The program: builds everything and passes it in, shows the window and runs until the player leaves.
namespace Launcher {

/// Downloads come from `codeHost`. Returns the program's exit status. `program` is the name that it was
/// started with; there are no other arguments, since the launcher has no options and does not take Qt's.
/// Called once, from main.
int run(char *program, const QUrl &codeHost);

}
