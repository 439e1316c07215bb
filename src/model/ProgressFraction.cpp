#include "ProgressFraction.h"

#include <algorithm>

std::optional<double> progressFraction(const DownloadProgress &progress)
{
    if (progress.total < 1)
        return std::nullopt;
    return std::min(1.0, static_cast<double>(progress.received) / static_cast<double>(progress.total));
}
