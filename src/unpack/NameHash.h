#pragma once

#include <cstdint>
#include <string_view>

/// A hash of `text`, seeded at random in each process, so that nobody can make an archive whose names
/// collide. It stands in for names, of which an archive may hold hundreds of megabytes.
std::uint64_t nameHash(std::string_view text);
