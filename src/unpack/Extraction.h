#pragma once

#include <string>

/// Unpacks the zip archive at `archive` into `folder`, which is created when missing. Checks the whole
/// archive first: one that cannot be trusted, or is damaged, writes nothing. Throws UnpackError; only what
/// the disk refuses leaves what was unpacked so far.
void unpack(const std::string &archive, const std::string &folder);
