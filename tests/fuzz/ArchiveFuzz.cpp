// Any bytes as an archive: they are refused, or what they unpack to is what the check promised.

#include "ArchiveCheck.h"
#include "Extraction.h"
#include "Fuzzing.h"
#include "MemberName.h"

#include <optional>
#include <set>

namespace fs = std::filesystem;

namespace {

using Members = std::vector<ZipMember>;

std::optional<Members> membersOf(Bytes archive)
{
    try {
        return readZipDirectory(archive);
    } catch (const UnpackError &error) {
        expect(std::string(error.what()).ends_with('.'), "a refusal is a sentence", error.what());
        return std::nullopt;
    }
}

/// By rules of its own, not by those of the code that is looked at.
void expectSafeName(const std::string &name)
{
    expect(!name.empty() && name.size() <= 1024, "names have a proper length", name);
    std::string part;
    for (const char character : name + '/') {
        const auto code = static_cast<unsigned char>(character);
        expect(code >= 0x20 && code != 0x7f && character != '\\', "names hold no strange characters", name);
        if (character != '/') {
            part += character;
            continue;
        }
        expect(!part.empty() && part != "." && part != ".." && part.size() <= 255, "parts are proper", name);
        part.clear();
    }
}

void expectSoundMembers(const Members &members, std::size_t archiveSize)
{
    std::uint64_t total = 0;
    std::set<std::string> keys;
    std::uint64_t nextOffset = 0;
    for (const ZipMember &member : members) {
        expectSafeName(member.name);
        expect(keys.insert(comparisonKey(member.name)).second, "no name stands twice", member.name);
        expect(member.size <= ZipLimits().size - total, "the sizes have a ceiling", member.name);
        total += member.size;
        expect(member.offset >= nextOffset && member.offset < archiveSize, "places do not overlap",
               member.name);
        nextOffset = member.offset + 30 + 1; // the shortest header and name
        expect(member.kind != ZipMember::Kind::Folder || member.size == 0, "folders are empty", member.name);
    }
    expect(total <= 10 * 1024 * 1024 || total / 200 <= archiveSize, "archives grow with measure");
}

/// Whether the link's way, as the operating system walks it, ends in `folder`.
bool staysIn(const fs::path &folder, const fs::path &link)
{
    const std::string end = fs::weakly_canonical(link).string();
    return end == folder.string() || end.starts_with(folder.string() + '/');
}

void expectUnpackedAsChecked(const fs::path &zip, const CheckedArchive &checked)
{
    const fs::path folder = scratchFolder() / "folder";
    fs::remove_all(folder);
    unpack(zip, folder);

    for (const ZipMember &member : checked.members) {
        const fs::path path = folder / member.name;
        const fs::file_status status = fs::symlink_status(path);
        switch (member.kind) {
        case ZipMember::Kind::Folder:
            expect(fs::is_directory(status), "a folder is unpacked", member.name);
            break;
        case ZipMember::Kind::Link:
            expect(fs::is_symlink(status), "a link is unpacked", member.name);
            expect(fs::read_symlink(path) == checked.targets.at(member.name), "it leads where it said",
                   member.name);
            expect(staysIn(folder, path), "no link leads out", member.name);
            break;
        case ZipMember::Kind::File:
            expect(fs::is_regular_file(status) && fs::file_size(path) == member.size, "a file is unpacked",
                   member.name);
            break;
        }
    }
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        const auto type = entry.symlink_status().type();
        expect(type == fs::file_type::regular || type == fs::file_type::directory
                   || type == fs::file_type::symlink,
               "nothing else is made", entry.path());
    }
    expect(std::distance(fs::directory_iterator(scratchFolder()), {}) == 2, "nothing is made elsewhere");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto members = membersOf({ data, size });
    if (!members)
        return 0;
    expectSoundMembers(*members, size);
    if (size == 0)
        return 0;

    const fs::path zip = scratchFolder() / "zip";
    writeFile(zip, data, size);
    try {
        checkArchive(ArchiveFile(zip));
    } catch (const UnpackError &) {
        return 0;
    }
    expectUnpackedAsChecked(zip, checkArchive(ArchiveFile(zip)));
    return 0;
}
