// Arbitrary bytes as an archive: either they are refused and leave nothing behind, or they unpack to exactly
// what the check promised.

#include "ArchiveCheck.h"
#include "Extraction.h"
#include "FolderWriter.h"
#include "Fuzzing.h"
#include "MemberName.h"

#include <algorithm>
#include <ctime>
#include <set>

namespace fs = std::filesystem;

namespace {

/// Checks the name independently of the code under test.
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

std::string wholeKey(const std::string &name)
{
    std::string key;
    for (const std::string &part : partsOf(name))
        key += comparisonKey(part) + '/';
    return key;
}

void expectSoundMembers(const std::vector<ZipMember> &members, MemberNames &names, std::size_t archiveSize)
{
    std::uint64_t total = 0;
    std::set<std::string> keys;
    std::uint64_t nextOffset = 0;
    for (const ZipMember &member : members) {
        const std::string name = names.of(member);
        expectSafeName(name);
        expect(keys.insert(wholeKey(name)).second, "no name stands twice", name);
        expect(member.size <= ZipLimits().size - total, "the sizes have a ceiling", name);
        total += member.size;
        expect(member.offset >= nextOffset && member.offset < archiveSize, "places do not overlap", name);
        nextOffset = member.offset + 30 + 1; // the shortest header and name
        expect(member.kind != ZipMember::Kind::Folder || member.size == 0, "folders are empty", name);
    }
    expect(total <= 10 * 1024 * 1024 || total / 200 <= archiveSize, "archives grow with measure");
}

/// Whether the link, as the operating system resolves it, leads into `folder`.
bool staysIn(const fs::path &folder, const fs::path &link)
{
    const std::string end = fs::weakly_canonical(link).string();
    return end == folder.string() || end.starts_with(folder.string() + '/');
}

void expectUnpackedAsChecked(const fs::path &folder, const ZipDirectory &directory, MemberNames &names)
{
    for (std::size_t index = 0; index < directory.members.size(); ++index) {
        const ZipMember &member = directory.members[index];
        const std::string name = names.of(member);
        const fs::path path = folder / name;
        const fs::file_type type = fs::symlink_status(path).type();
        if (member.kind == ZipMember::Kind::Folder) {
            expect(type == fs::file_type::directory, "a folder is unpacked", name);
        } else if (member.kind == ZipMember::Kind::File) {
            expect(type == fs::file_type::regular, "a file is unpacked", name);
            expect(fs::file_size(path) == member.size, "it has its size", name);
        } else {
            const auto link = std::ranges::find(directory.links, index, &ZipLink::member);
            expect(type == fs::file_type::symlink, "a link is unpacked", name);
            expect(fs::read_symlink(path) == link->target, "it leads where it said", name);
            expect(staysIn(folder, path), "no link leads out", name);
        }
    }
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        const auto type = entry.symlink_status().type();
        expect(type == fs::file_type::regular || type == fs::file_type::directory
                   || type == fs::file_type::symlink,
               "nothing else is made", entry.path());
    }
}

/// Whether `work` accepts the archive. Expects a refusal to be a full sentence.
template <typename Work> bool accepts(const Work &work)
{
    try {
        work();
        return true;
    } catch (const UnpackError &error) {
        expect(std::string(error.what()).ends_with('.'), "a refusal is a sentence", error.what());
        return false;
    }
}

/// Expects one input to take less than a second of processor time: an archive of a megabyte may take that
/// long, but these have a few kilobytes.
class ProcessorTime final {
public:
    ~ProcessorTime()
    {
        const double seconds = static_cast<double>(std::clock() - m_begin) / CLOCKS_PER_SEC;
        // The limit is generous: sanitizers and the fuzzer's instrumentation take their share.
        expect(seconds < 1, "judging takes little processor time", std::to_string(seconds));
    }

private:
    std::clock_t m_begin = std::clock();
};

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const ProcessorTime time;
    const fs::path zip = scratchFolder() / "zip";
    const fs::path folder = scratchFolder() / "folder";
    writeFile(zip, data, size);
    const ArchiveFile file(zip);
    ZipDirectory directory;
    if (!accepts([&] { directory = readContents(file); }))
        return 0;
    MemberNames names(file);
    expectSoundMembers(directory.members, names, size);

    const bool isChecked = accepts([&] { checkArchive(file); });
    const FileDescriptor open = openEmptyFolder(folder);
    const bool isUnpacked = accepts([&] { unpack(file, open.get()); });
    expect(isChecked == isUnpacked, "the check takes what unpacking takes");
    if (isUnpacked)
        expectUnpackedAsChecked(folder, directory, names);
    else
        expect(fs::is_empty(folder), "nothing of a refused archive is left");
    fs::remove_all(folder);
    expect(std::distance(fs::directory_iterator(scratchFolder()), {}) == 1, "nothing is made elsewhere");
    return 0;
}
