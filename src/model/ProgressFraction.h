#pragma once

#include "DownloadProgress.h"

#include <optional>

/// How much of a download has come, from 0.0 to 1.0; none when its size is not known.
std::optional<double> progressFraction(const DownloadProgress &progress);
