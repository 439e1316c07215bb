#include "Workspace.h"

Workspace::~Workspace() = default;
