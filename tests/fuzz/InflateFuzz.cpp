// Any bytes as what the method "deflate" packed: ours and zlib both take them, with the same output, or both
// refuse them. The first byte says in which pieces the packed bytes come and the unpacked ones are taken.
// Each piece ends at the end of its memory, so that to read or write one byte too many ends the fuzzer.
//
// Ours takes a few kinds of streams that zlib refuses, see `isHarmless`: those whose codes leave some bits
// without a meaning, while the stream does not use these. It is read in one way only, which is the same as
// zlib's as far as that goes. And what stands in an archive must still have the length and the checksum that
// were announced, so that nobody gains what could not have been packed in the usual way.

#include "Fuzzing.h"
#include "Inflater.h"

#include <sys/mman.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t mostInput = 1024 * 1024;

/// Looked at of the output, so that no input takes long: several times as much as is referred back to.
constexpr std::size_t mostOutput = 160 * 1024;

/// As far as either reader may have looked ahead of what it gave.
constexpr std::size_t lookedAhead = 96 * 1024;

/// Memory in front of a page that must not be touched.
class EdgeMemory final {
public:
    explicit EdgeMemory(std::size_t size)
    {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t usable = (size + page - 1) / page * page;
        void *memory
            = mmap(nullptr, usable + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        expect(memory != MAP_FAILED, "there is memory");
        m_end = static_cast<unsigned char *>(memory) + usable;
        expect(mprotect(m_end, page, PROT_NONE) == 0, "memory can have an edge");
    }

    std::span<unsigned char> last(std::size_t size) const { return { m_end - size, size }; }

private:
    unsigned char *m_end = nullptr; // kept to the end of the process
};

/// What the fuzzer finds its way by, as it cannot see into the libraries: what differs here is something new.
#ifdef __linux__
[[gnu::section("__libfuzzer_extra_counters"), gnu::used]]
#endif
std::array<std::uint8_t, 4 * 64>
    seen;

void see(std::size_t kind, std::size_t value) { seen[64 * kind + std::min<std::size_t>(value, 63)] = 1; }

/// What became of a stream.
enum class End {
    Exact, ///< it ended with the last byte
    Early, ///< it ended, and something stands behind it
    Never, ///< there was more than is looked at
    Broken, ///< it broke off
    Refused,
};

struct Outcome {
    End end = End::Refused;
    Bytes output; ///< until the next call
    std::string reason; ///< of zlib, for a refusal

    bool isTaken() const { return end != End::Broken && end != End::Refused; }
};

Outcome withZlib(Bytes packed)
{
    static std::array<unsigned char, mostOutput + lookedAhead> output;
    z_stream stream = {};
    expect(inflateInit2(&stream, -MAX_WBITS) == Z_OK, "zlib is ready");
    stream.next_in = const_cast<unsigned char *>(packed.data()); // it only reads
    stream.avail_in = static_cast<unsigned>(packed.size());
    stream.next_out = output.data();
    stream.avail_out = static_cast<unsigned>(output.size());
    int result = Z_OK;
    for (std::size_t block = 0; result == Z_OK && stream.avail_in > 0 && stream.avail_out > 0; ++block) {
        result = inflate(&stream, Z_TREES); // to the next beginning or end of a block
        see(0, block);
    }
    if (result == Z_OK || result == Z_BUF_ERROR)
        result = inflate(&stream, Z_SYNC_FLUSH);
    see(1, stream.total_in);
    see(2, static_cast<std::size_t>(std::bit_width(stream.total_out)));
    if (stream.msg != nullptr)
        see(3, std::hash<std::string_view>()(stream.msg) % 64);

    Outcome outcome;
    outcome.output = Bytes(output).first(stream.total_out);
    if (result == Z_STREAM_END)
        outcome.end = stream.avail_in == 0 ? End::Exact : End::Early;
    else if (result == Z_DATA_ERROR)
        outcome.reason = stream.msg;
    else
        outcome.end = stream.avail_out == 0 ? End::Never : End::Broken;
    inflateEnd(&stream);
    return outcome;
}

/// In pieces of `inputSize` and `outputSize` bytes, which stand in front of an edge.
Outcome withOurs(Inflater &inflater, Bytes packed, std::size_t inputSize, std::size_t outputSize)
{
    static const EdgeMemory input(mostInput);
    static const EdgeMemory output(mostOutput);
    static std::vector<unsigned char> whole(mostOutput);

    inflater.begin([&packed, inputSize] {
        const Bytes piece = packed.first(std::min(inputSize, packed.size()));
        packed = packed.subspan(piece.size());
        const auto copy = input.last(piece.size());
        std::copy(piece.begin(), piece.end(), copy.begin());
        return Bytes(copy);
    });
    std::size_t total = 0;
    bool goesOn = true;
    while (goesOn && total < mostOutput) {
        const auto piece = output.last(std::min(outputSize, mostOutput - total));
        const std::size_t count = inflater.read(piece);
        std::memcpy(whole.data() + total, piece.data(), count);
        total += count;
        goesOn = count == piece.size();
    }
    Outcome outcome;
    outcome.output = Bytes(whole).first(total);
    if (inflater.hasFailed())
        outcome.end = End::Refused;
    else if (goesOn)
        outcome.end = End::Never;
    else
        outcome.end = inflater.isAtEnd() ? End::Exact : End::Early;
    return outcome;
}

/// Whether ours may take what zlib refuses for this reason.
bool isHarmless(const std::string &reason)
{
    // Those that are used up too early. Where there are more codes than bits for them, ours refuses it, too.
    static const std::set<std::string> incomplete
        = { "invalid code lengths set", "invalid literal/lengths set", "invalid distances set" };
    return incomplete.contains(reason);
}

/// Says once what was taken that zlib refuses.
void note(const std::string &reason)
{
    static std::set<std::string> noted;
    if (noted.insert(reason).second)
        std::fprintf(stderr, "Taken, and refused by zlib: %s\n", reason.c_str());
}

void expectTheSame(const Outcome &ours, const Outcome &zlibs)
{
    const std::size_t common = std::min(ours.output.size(), zlibs.output.size());
    expect(std::memcmp(ours.output.data(), zlibs.output.data(), common) == 0, "the output is the same",
           zlibs.reason);
    if (ours.end == End::Never && zlibs.output.size() >= mostOutput)
        return; // what follows is not looked at
    switch (zlibs.end) {
    case End::Exact:
    case End::Early:
    case End::Never:
        expect(ours.end == zlibs.end && ours.output.size() == zlibs.output.size(),
               "what zlib takes is taken");
        break;
    case End::Broken:
        expect(!ours.isTaken(), "what breaks off is refused");
        break;
    case End::Refused:
        if (ours.isTaken()) {
            note(zlibs.reason);
            expect(isHarmless(zlibs.reason), "what zlib refuses is refused", zlibs.reason);
        }
        break;
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::array<std::size_t, 16> pieces
        = { mostInput, 1, 2, 3, 5, 8, 13, 64, 255, 256, 258, 1000, 4096, 32767, 32768, 65536 };
    if (size == 0 || size > mostInput)
        return 0;
    const std::size_t inputSize = pieces[*data % pieces.size()];
    const std::size_t outputSize = pieces[*data / pieces.size()];
    const Bytes packed(data + 1, size - 1);

    const Outcome zlibs = withZlib(packed);
    Inflater fresh;
    const Outcome inPieces = withOurs(fresh, packed, inputSize, outputSize);
    expectTheSame(inPieces, zlibs);
    const End end = inPieces.end;

    static Inflater used; // by all inputs before
    const Outcome atOnce = withOurs(used, packed, mostInput, mostOutput);
    expectTheSame(atOnce, zlibs);
    expect(end == atOnce.end || zlibs.output.size() >= mostOutput,
           "pieces, and what was unpacked before, do not matter");
    return 0;
}
