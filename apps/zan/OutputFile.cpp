#include "OutputFile.h"

#include "CommandError.h"
#include "cancelling.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <unistd.h>

namespace fs = std::filesystem;

namespace
{

[[noreturn]] void failToWrite(const std::string& name, int error)
{
    throw CommandError(ExitCode::FileTrouble, "cannot write '" + name + "': " + std::strerror(error) +
                                                  ". Check the folder, its rights and the free space.");
}

// A file that is there may lie behind a link: the link stays and the file is replaced.
fs::path behindLinks(const std::string& name)
{
    std::error_code none;
    const fs::path real = fs::canonical(name, none);
    return none ? fs::path(name) : real;
}

} // namespace

OutputFile::OutputFile(const std::string& wantedName)
    : name(wantedName), target(behindLinks(wantedName).string())
{
    std::error_code error; // of a folder that nobody may look into, for one
    const fs::file_status status = fs::status(target, error);
    if (!fs::status_known(status))
        failToWrite(name, error.value());
    if (fs::is_directory(status))
        failToWrite(name, EISDIR);
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw CommandError(ExitCode::FileTrouble, "'" + name + "' is no ordinary file. Name one.");
    if (fs::exists(status) && access(target.c_str(), W_OK) != 0)
        failToWrite(name, errno);

    const fs::path wanted(target);
    const std::string unique = "." + std::to_string(getpid()) + ".part";
    work = (wanted.parent_path() / (wanted.stem().string() + unique + wanted.extension().string())).string();
    std::FILE* file = std::fopen(work.c_str(), "wx"); // x: never somebody else's file
    if (file == nullptr)
        failToWrite(name, errno);
    std::fclose(file);
    setFileToRemove(work);
}

OutputFile::~OutputFile()
{
    setFileToRemove("");
    if (!bCommitted)
        std::remove(work.c_str());
}

void OutputFile::commit()
{
    if (std::rename(work.c_str(), target.c_str()) != 0)
        failToWrite(name, errno);
    bCommitted = true;
}
