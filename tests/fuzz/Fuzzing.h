#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

/// The fuzzer itself, called with one input after another in the same process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/// Aborts unless `holds`, which the fuzzing engine reports as a finding.
inline void expect(bool holds, const char *what, const std::string &detail = {})
{
    if (holds)
        return;
    std::fprintf(stderr, "Not so: %s (%s)\n", what, detail.c_str());
    std::abort();
}

/// This process's folder for files, removed at exit; in memory where the system has a place for that.
inline const std::filesystem::path &scratchFolder()
{
    struct Folder {
        Folder()
        {
            const bool hasMemory = access("/dev/shm", W_OK) == 0;
            std::string pattern = (hasMemory ? "/dev/shm" : "/tmp") + std::string("/fuzz-XXXXXX");
            expect(mkdtemp(pattern.data()) != nullptr, "there is room for files");
            path = pattern;
        }
        ~Folder()
        {
            std::error_code ignored; // what stays does no harm
            std::filesystem::remove_all(path, ignored);
        }
        std::filesystem::path path;
    };
    static const Folder folder;
    return folder.path;
}

inline void writeFile(const std::filesystem::path &path, const void *data, std::size_t size)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    expect(file >= 0 && write(file, data, size) == static_cast<ssize_t>(size), "a file is written", path);
    close(file);
}
