#pragma once

#include "ByteReader.h"

/// The checksum that zip archives use (CRC-32), of `bytes` behind those that gave `before`.
std::uint32_t zipChecksum(Bytes bytes, std::uint32_t before = 0);
