// Calls a fuzzer with the inputs from the given folders, for compilers without a fuzzing engine.

#include "Fuzzing.h"

#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char **argv)
{
    int inputs = 0;
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        if (argument.starts_with('-'))
            continue; // options are for the fuzzing engine
        for (const auto &entry : std::filesystem::directory_iterator(argument)) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
            ++inputs;
        }
    }
    std::printf("%d inputs replayed\n", inputs);
    return inputs > 0 ? 0 : 1;
}
