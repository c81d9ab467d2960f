// A folder of its own for each test that writes files.
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>

namespace zan_test
{

// A new, empty folder under the system's folder for temporary files; removed with all that is in it.
class TempDir
{
public:
    TempDir()
    {
        std::random_device source; // only so that test programs that run side by side do not meet
        for (int attempt = 0; attempt < 100; ++attempt) {
            folder = std::filesystem::temp_directory_path() / ("zan_test_" + std::to_string(source()));
            if (std::filesystem::create_directory(folder))
                return;
        }
        throw std::runtime_error("no temporary folder");
    }

    ~TempDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string path() const { return folder.string(); }

    // The path of a file or folder of that name in here; nothing is created.
    std::string file(const std::string& name) const { return (folder / name).string(); }

    // Writes the bytes as they are and returns the path.
    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream stream(file(name), std::ios::binary);
        stream.write(content.data(), std::streamsize(content.size()));
        return file(name);
    }

    // All bytes of a file in here; empty if there is none.
    std::string read(const std::string& name) const
    {
        std::ifstream stream(file(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    size_t numFiles() const { return size_t(std::distance(std::filesystem::directory_iterator(folder), {})); }

private:
    std::filesystem::path folder;
};

} // namespace zan_test
