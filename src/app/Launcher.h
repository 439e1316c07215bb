#pragma once

#include <QUrl>

/// The program: creates and connects all its parts, shows the window and runs until the player quits.
namespace Launcher {

/// Runs the launcher, which downloads from `codeHost`, and returns the exit status. `program` is argv[0];
/// there are no other arguments, not even Qt's own options. Called once, from main.
int run(char *program, const QUrl &codeHost);

}
