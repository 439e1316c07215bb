#pragma once

#include <QString>

/// The sentence of the `Error` that `work` throws, or a null string if it throws nothing.
template <typename Error, typename Work> QString failureOf(Work work)
{
    try {
        work();
    } catch (const Error &error) {
        return error.errorDescription();
    }
    return {};
}
