#pragma once

#include <exception>
#include <stop_token>

/// The one error that says: the player asked for this to stop. Never shown as a failure.
class CancellationError final : public std::exception {
public:
    const char *what() const noexcept override { return "cancelled"; }
};

/// Throws CancellationError if stop was requested.
inline void throwIfCancelled(const std::stop_token &stop)
{
    if (stop.stop_requested())
        throw CancellationError();
}
