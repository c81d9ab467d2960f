// Runs the targets on files, without libFuzzer: zan_fuzz_replay FOLDER...
// Each folder has one folder for each target, and those the files. A file in no target's folder is a mistake.
#include "FuzzTarget.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{

std::vector<std::uint8_t> bytesOf(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// In order of their names.
std::vector<std::filesystem::path> filesBelow(const char* folder)
{
    std::vector<std::filesystem::path> vFiles;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file())
            vFiles.push_back(entry.path());
    std::sort(vFiles.begin(), vFiles.end());
    return vFiles;
}

} // namespace

int main(int argc, char** argv)
{
    zan_fuzz::prepareProcess();
    std::size_t num = 0;
    for (int i = 1; i < argc; ++i)
        for (const std::filesystem::path& path : filesBelow(argv[i])) {
            const auto* pTarget = zan_fuzz::findTarget(path.parent_path().filename().string());
            if (pTarget == nullptr) {
                std::fprintf(stderr, "%s: no target of that name\n", path.c_str());
                return 2;
            }
            std::printf("%s\n", path.c_str()); // before the run, which may end the process
            std::fflush(stdout);
            pTarget->run(bytesOf(path));
            ++num;
        }
    std::printf("%zu inputs, no finding\n", num);
    return num > 0 ? 0 : 1;
}
