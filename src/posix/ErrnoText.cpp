#include "ErrnoText.h"

#include <system_error>

std::string errnoText(int code) { return std::generic_category().message(code); }
