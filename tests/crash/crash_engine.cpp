// Stands in for the engine where thousands of installations are interrupted: it starts in a millisecond,
// imports a project by writing a few files, and runs a game until it is stopped.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

void writeFile(const std::filesystem::path &path)
{
    std::ofstream file(path);
    file << "imported\n";
    file.close();
    if (!file)
        std::exit(1);
}

void import(const std::filesystem::path &folder)
{
    std::filesystem::create_directories(folder / "imported");
    writeFile(folder / "imported" / "picture.ctex");
    writeFile(folder / "imported" / "sound.sample");
    writeFile(folder / "whole");
}

}

int main(int argc, char **argv)
{
    std::string project;
    std::string importFolder;
    for (int index = 1; index < argc; ++index) {
        if (std::strcmp(argv[index], "--path") == 0 && index + 1 < argc)
            project = argv[index + 1];
        else if (std::strcmp(argv[index], "--import") == 0)
            importFolder = ".godot";
        else if (std::strcmp(argv[index], "--no-window") == 0)
            importFolder = ".import";
    }
    if (chdir(project.c_str()) != 0)
        return 1;
    if (!importFolder.empty()) {
        try {
            import(importFolder);
        } catch (const std::filesystem::filesystem_error &error) {
            std::puts(error.what());
            return 1;
        }
        return 0;
    }
    std::puts("The game runs.");
    std::fflush(stdout);
    pause();
}
