// For tests of files whose names the library chooses itself.
#pragma once

#include <filesystem>
#include <string>

namespace zan_test
{

// While it lives, this folder is the current one.
class InFolder
{
public:
    explicit InFolder(const std::string& folder) : before(std::filesystem::current_path())
    {
        std::filesystem::current_path(folder);
    }
    ~InFolder() { std::filesystem::current_path(before); }
    InFolder(const InFolder&) = delete;
    InFolder& operator=(const InFolder&) = delete;

private:
    std::filesystem::path before;
};

} // namespace zan_test
