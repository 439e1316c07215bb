#pragma once

#include "DownloadProgress.h"

#include <optional>

/// The fraction of a download that has arrived, from 0.0 to 1.0; no value when its size is unknown.
std::optional<double> progressFraction(const DownloadProgress &progress);
