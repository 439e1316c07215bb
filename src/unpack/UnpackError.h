#pragma once

#include <stdexcept>

/// Why an archive is not unpacked: one line for the player, in UTF-8.
class UnpackError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
