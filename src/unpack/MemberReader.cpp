#include "MemberReader.h"

#include "Checksum.h"
#include "MemberName.h"
#include "Parallel.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t bufferSize = 256 * 1024;
/// From this size on, in bytes, a file is worth writing by several threads.
constexpr std::uint64_t large = 32 * 1024 * 1024;

[[noreturn]] void refuseDamaged(const ZipMember &member, const std::string &how)
{
    throw UnpackError("The archive is damaged: " + quoted(member.name) + " " + how + ".");
}

void writeAll(int output, Bytes bytes, std::uint64_t place, const ZipMember &member)
{
    while (!bytes.empty()) {
        const ssize_t count = pwrite(output, bytes.data(), bytes.size(), static_cast<off_t>(place));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            throw UnpackError(quoted(member.name) + " could not be written: " + std::strerror(errno) + ".");
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        place += static_cast<std::uint64_t>(count);
    }
}

/// A file's whole data as one stretch, of which the checksum is not known yet.
Stretch wholeOf(const ZipMember &member)
{
    Stretch stretch;
    stretch.data = member.data;
    return stretch;
}

void add(Stretch &stretch, Bytes bytes)
{
    stretch.size += bytes.size();
    stretch.checksum = zipChecksum(bytes, stretch.checksum);
}

}

MemberReader::MemberReader(const ArchiveFile &file)
    : m_file(file)
    , m_inflater(file)
    , m_buffer(bufferSize)
{
}

std::vector<Stretch> MemberReader::check(const ZipMember &member)
{
    std::vector<Stretch> stretches { wholeOf(member) };
    std::uint32_t checksum = 0;
    std::uint64_t taken = 0;
    const auto take = [&](Bytes bytes) {
        if (bytes.size() > member.size - taken)
            refuseDamaged(member, "is longer than it says");
        taken += bytes.size();
        checksum = zipChecksum(bytes, checksum);
        add(stretches.back(), bytes);
    };

    if (!member.isDeflated) {
        readStored(member.data, take);
    } else {
        const std::uint64_t enough = member.size < large ? member.size : member.size / threadCount();
        m_inflater.begin(member.data);
        for (Bytes bytes = m_inflater.next(); !bytes.empty(); bytes = m_inflater.next()) {
            take(bytes);
            if (stretches.back().size >= enough && taken < member.size)
                stretches.push_back(
                    { .begin = taken, .data = m_inflater.rest(), .resume = m_inflater.state() });
        }
        if (!m_inflater.isAtEnd())
            refuseDamaged(member, "cannot be unpacked");
    }
    if (taken != member.size)
        refuseDamaged(member, "is shorter than it says");
    if (checksum != member.crc)
        refuseDamaged(member, "has another checksum than it says");
    return stretches;
}

std::string MemberReader::target(const ZipMember &member)
{
    check(member);
    std::string target;
    const auto take = [&target](Bytes bytes) { target.append(bytes.begin(), bytes.end()); };
    if (!member.isDeflated) {
        readStored(member.data, take);
    } else {
        m_inflater.begin(member.data);
        take(m_inflater.next()); // short as it is, all of it
    }
    return target;
}

void MemberReader::write(const Stretch &stretch, const ZipMember &member, int output)
{
    Stretch written;
    const auto take = [&](Bytes bytes) {
        writeAll(output, bytes, stretch.begin + written.size, member);
        add(written, bytes);
    };
    if (!member.isDeflated) {
        readStored(stretch.data, take);
    } else {
        m_inflater.begin(stretch.data, stretch.resume.get());
        while (written.size < stretch.size) {
            const Bytes bytes = m_inflater.next(stretch.size - written.size);
            if (bytes.empty())
                break;
            take(bytes);
        }
    }
    // Somebody may have changed the archive since it was checked.
    if (written.size != stretch.size || written.checksum != stretch.checksum)
        refuseDamaged(member, "is not what it was");
}

template <typename Take> void MemberReader::readStored(ArchivePart data, Take take)
{
    while (data.size > 0) {
        const Bytes bytes = m_file.read(data, m_buffer);
        take(bytes);
        data.offset += bytes.size();
        data.size -= bytes.size();
    }
}
