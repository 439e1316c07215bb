// Calls a fuzzer with the inputs from the given folders, for compilers without a fuzzing engine.

#include "Fuzzing.h"

#include <fstream>
#include <iterator>
#include <vector>

namespace {

int replay(const std::filesystem::path &folder)
{
    int inputs = 0;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
        ++inputs;
    }
    return inputs;
}

}

int main(int argc, char **argv)
{
    int inputs = 0;
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        if (!argument.starts_with('-')) // options are for the fuzzing engine
            inputs += replay(argument);
    }
    std::printf("%d inputs replayed\n", inputs);
    return inputs > 0 ? 0 : 1;
}
