#include "Checksum.h"

#include <isa-l/crc.h>

std::uint32_t zipChecksum(Bytes bytes, std::uint32_t before)
{
    return crc32_gzip_refl(before, bytes.data(), bytes.size());
}
