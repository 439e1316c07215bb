#pragma once

#include <exception>
#include <stop_token>

/// Thrown when the player has asked for an action to stop. Never shown as a failure.
class CancellationError final : public std::exception {
public:
    const char *what() const noexcept override { return "cancelled"; }
};

/// Whether `error` counts as a cancellation. Once a stop is requested, every error does.
inline bool isCancellation(const std::exception &error, const std::stop_token &stop)
{
    return stop.stop_requested() || dynamic_cast<const CancellationError *>(&error) != nullptr;
}

/// Throws CancellationError if stop was requested.
inline void throwIfCancelled(const std::stop_token &stop)
{
    if (stop.stop_requested())
        throw CancellationError();
}
