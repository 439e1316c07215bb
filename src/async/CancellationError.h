#pragma once

#include <exception>
#include <stop_token>

/// The one error that says: the player asked for this to stop. Never shown as a failure.
class CancellationError final : public std::exception {
public:
    const char *what() const noexcept override { return "cancelled"; }
};

/// Whether `error` ended an action because the player asked for it: what fails after that fails because of
/// it.
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
