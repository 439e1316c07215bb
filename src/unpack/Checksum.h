#pragma once

#include "ByteReader.h"

/// The checksum that zip archives use (CRC-32). `before` is the checksum of the bytes in front of `bytes`.
std::uint32_t zipChecksum(Bytes bytes, std::uint32_t before = 0);
