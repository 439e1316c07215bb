#include "MemberReader.h"

#include "Checksum.h"
#include "MemberName.h"

#include <algorithm>

namespace {

constexpr std::size_t packedSize = 128 * 1024;

}

MemberReader::MemberReader(const ArchiveFile &file)
    : m_file(file)
    , m_packed(packedSize)
{
}

void MemberReader::begin(const ZipMember &member, const std::string &name)
{
    m_member = member;
    m_name = name;
    m_ahead = member.data;
    m_taken = 0;
    m_checksum = 0;
    m_isFinished = false;
    if (!member.isDeflated)
        return;
    m_inflater.begin([this] {
        const Bytes bytes = m_file.read(m_ahead, m_packed);
        m_ahead.offset += bytes.size();
        m_ahead.size -= bytes.size();
        return bytes;
    });
}

std::size_t MemberReader::read(std::span<unsigned char> buffer)
{
    if (m_isFinished)
        return 0;
    const auto wanted = buffer.first(std::min<std::uint64_t>(buffer.size(), m_member.size - m_taken));
    if (m_member.isDeflated)
        readDeflated(wanted);
    else
        m_file.read({ m_member.data.offset + m_taken, wanted.size() }, wanted);
    m_taken += wanted.size();
    m_checksum = zipChecksum(wanted, m_checksum);
    if (m_taken == m_member.size)
        finish();
    return wanted.size();
}

void MemberReader::readDeflated(std::span<unsigned char> buffer)
{
    if (m_inflater.read(buffer) == buffer.size())
        return;
    if (m_inflater.hasFailed())
        refuse("cannot be unpacked");
    refuse("is shorter than it says");
}

void MemberReader::finish()
{
    if (m_member.isDeflated) {
        // The inflater reads the end of a stream only while it has room for output.
        unsigned char more = 0;
        if (m_inflater.read({ &more, 1 }) > 0)
            refuse("is longer than it says");
        if (!m_inflater.isAtEnd())
            refuse("cannot be unpacked");
    }
    if (m_checksum != m_member.crc)
        refuse("has another checksum than it says");
    m_isFinished = true;
}

void MemberReader::refuse(const std::string &how) const
{
    throw UnpackError("The archive is damaged: " + inQuotes(m_name) + " " + how + ".");
}
