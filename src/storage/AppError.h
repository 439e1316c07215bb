#pragma once

#include "DescribedError.h"

/// An error that the launcher words itself: one complete sentence for the player, and nothing else.
class AppError final : public DescribedError {
public:
    static AppError message(const QString &text) { return AppError(text); }

private:
    explicit AppError(const QString &text)
        : DescribedError(text)
    {
    }
};
