#pragma once

#include <cstdint>
#include <string_view>

/// A hash of `text` that differs from one process to the next, so that nobody can make an archive whose names
/// collide. It stands in for names where an archive may hold hundreds of megabytes of them.
std::uint64_t nameHash(std::string_view text);
