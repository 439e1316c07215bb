#pragma once

#include <string>

/// The system's English words for the errno value `code`: "No space left on device". Any thread.
std::string errnoText(int code);
