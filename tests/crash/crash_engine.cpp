// Stands in for the engine where thousands of installations are interrupted: it starts in a millisecond,
// imports a project by writing a few files, and runs a game until it is stopped.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

/// Returns the exit status.
int import(const std::filesystem::path &folder)
{
    try {
        std::filesystem::create_directories(folder / "imported");
        for (const char *name : { "imported/picture.ctex", "imported/sound.sample", "whole" }) {
            std::ofstream file;
            file.exceptions(std::ios::badbit | std::ios::failbit);
            file.open(folder / name);
            file << "imported\n";
            file.close();
        }
    } catch (const std::exception &error) {
        std::puts(error.what());
        return 1;
    }
    return 0;
}

}

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto has = [&arguments](const char *option) { return std::ranges::count(arguments, option) > 0; };
    if (!has("--path") || chdir((std::ranges::find(arguments, "--path") + 1)->c_str()) != 0)
        return 1;
    if (has("--import"))
        return import(".godot");
    if (has("--no-window"))
        return import(".import");
    std::puts("The game runs.");
    std::fflush(stdout);
    pause();
}
