#pragma once

#include <string>

/// Unpacks the zip archive at `archive` into `folder`, which is created when missing. Checks the whole
/// archive first: one that cannot be trusted writes nothing. Throws UnpackError; damage that shows only in
/// the data leaves what was unpacked so far.
void unpack(const std::string &archive, const std::string &folder);
