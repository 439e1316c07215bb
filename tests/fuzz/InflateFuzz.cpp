// Arbitrary bytes as a deflate stream: our inflater and zlib either both accept it, with the same output, or
// both refuse it. The first byte selects the sizes of the input and output pieces. Each piece ends where its
// memory ends, so that a read or write one byte too far crashes the fuzzer.
//
// Ours accepts a few kinds of streams that zlib refuses, see `expectHarmless`: their codes are incomplete,
// but the stream never uses the bits that have no meaning. There is only one way to read such a stream, and
// zlib's output is the same as far as it goes. A file in an archive must also have the announced length and
// checksum, so nobody can pack anything this way that ordinary streams could not hold.

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

/// How much output is compared, so that no input takes long: several times the window of deflate.
constexpr std::size_t mostOutput = 160 * 1024;

/// How far either inflater may have decoded beyond the output that it returned.
constexpr std::size_t lookedAhead = 96 * 1024;

/// Returns the end of `size` new bytes, which is the beginning of a page that must not be touched. They are
/// kept to the end of the process.
unsigned char *endOfMemory(std::size_t size)
{
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t usable = (size + page - 1) / page * page;
    void *memory = mmap(nullptr, usable + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    expect(memory != MAP_FAILED, "there is memory");
    unsigned char *end = static_cast<unsigned char *>(memory) + usable;
    expect(mprotect(end, page, PROT_NONE) == 0, "memory can have an edge");
    return end;
}

/// Coverage counters that guide the fuzzer, which cannot see into zlib.
#ifdef __linux__
[[gnu::section("__libfuzzer_extra_counters"), gnu::used]]
#endif
std::array<std::uint8_t, 4 * 64>
    seen;

void see(std::size_t kind, std::size_t value) { seen[64 * kind + std::min<std::size_t>(value, 63)] = 1; }

/// How a stream ended.
enum class End {
    Exact, ///< it ended with the last byte
    Early, ///< it ended before the last byte
    Never, ///< there was more output than is compared
    Broken, ///< the input ended first
    Refused,
};

struct Outcome {
    End end = End::Refused;
    Bytes output {}; ///< valid until the next call
    std::string reason {}; ///< zlib's message, if it refused the stream

    bool isTaken() const { return end != End::Broken && end != End::Refused; }
};

Outcome withZlib(Bytes packed)
{
    static std::array<unsigned char, mostOutput + lookedAhead> output;
    z_stream stream = {};
    expect(inflateInit2(&stream, -MAX_WBITS) == Z_OK, "zlib is ready");
    stream.next_in = const_cast<unsigned char *>(packed.data()); // zlib only reads it
    stream.avail_in = static_cast<unsigned>(packed.size());
    stream.next_out = output.data();
    stream.avail_out = static_cast<unsigned>(output.size());
    int result = Z_OK;
    for (std::size_t block = 0; result == Z_OK && stream.avail_in > 0 && stream.avail_out > 0; ++block) {
        result = inflate(&stream, Z_TREES); // to the end of the next block header or block
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

/// Inflates in pieces of `inputSize` and `outputSize` bytes, each ending at the edge of its memory.
Outcome withOurs(Inflater &inflater, Bytes packed, std::size_t inputSize, std::size_t outputSize)
{
    static unsigned char *const inputEnd = endOfMemory(mostInput);
    static unsigned char *const outputEnd = endOfMemory(mostOutput);
    static std::vector<unsigned char> whole(mostOutput);

    inflater.begin([&packed, inputSize] {
        const Bytes piece = packed.first(std::min(inputSize, packed.size()));
        packed = packed.subspan(piece.size());
        unsigned char *const copy = inputEnd - piece.size();
        std::copy(piece.begin(), piece.end(), copy);
        return Bytes(copy, piece.size());
    });
    std::size_t total = 0;
    bool goesOn = true;
    while (goesOn && total < mostOutput) {
        const std::size_t size = std::min(outputSize, mostOutput - total);
        const std::span piece(outputEnd - size, size);
        const std::size_t count = inflater.read(piece);
        std::memcpy(whole.data() + total, piece.data(), count);
        total += count;
        goesOn = count == piece.size();
    }
    const Bytes unpacked = Bytes(whole).first(total);
    if (inflater.hasFailed())
        return { End::Refused, unpacked };
    if (goesOn)
        return { End::Never, unpacked };
    return { inflater.isAtEnd() ? End::Exact : End::Early, unpacked };
}

/// Expects that ours may accept a stream that zlib refuses for this reason, which it prints once.
void expectHarmless(const std::string &reason)
{
    // zlib says this of incomplete and of over-subscribed codes. Ours refuses the over-subscribed, too.
    static const std::set<std::string> incomplete
        = { "invalid code lengths set", "invalid literal/lengths set", "invalid distances set" };
    expect(incomplete.contains(reason), "what zlib refuses is refused", reason);
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
        return; // the rest is not compared
    if (zlibs.isTaken())
        expect(ours.end == zlibs.end && ours.output.size() == zlibs.output.size(),
               "what zlib takes is taken");
    else if (zlibs.end == End::Broken)
        expect(!ours.isTaken(), "what breaks off is refused");
    else if (ours.isTaken())
        expectHarmless(zlibs.reason);
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

    static Inflater used; // by all earlier inputs
    const Outcome atOnce = withOurs(used, packed, mostInput, mostOutput);
    expectTheSame(atOnce, zlibs);
    expect(inPieces.end == atOnce.end || zlibs.output.size() >= mostOutput,
           "pieces, and what was unpacked before, do not matter");
    return 0;
}
