#include "CodeHost.h"
#include "Launcher.h"

int main(int /*argc*/, char **argv) { return Launcher::run(argv[0], CodeHost::official()); }
