#include "RoomCheck.h"

#include <string>

NoRoomError::NoRoomError(std::uint64_t needed, std::uint64_t free)
    : std::runtime_error("The archive's files take " + std::to_string(needed) + " bytes, and "
                         + std::to_string(free) + " are free.")
{
}

std::uint64_t roomNeeded(const ZipDirectory &directory, std::uint64_t block)
{
    std::uint64_t total = 0;
    for (const ZipMember &member : directory.members) {
        if (member.kind != ZipMember::Kind::File)
            continue;
        const std::uint64_t blocks = member.size / block + (member.size % block != 0 ? 1 : 0);
        total = saturatedSum(total, saturatedProduct(blocks, block));
    }
    return total;
}

void requireRoom(const ZipDirectory &directory, const std::optional<DiskRoom> &room)
{
    if (!room)
        return;
    const std::uint64_t needed = roomNeeded(directory, room->block);
    if (needed > room->free)
        throw NoRoomError(needed, room->free);
}
