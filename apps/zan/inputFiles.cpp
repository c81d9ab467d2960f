#include "inputFiles.h"

#include "CommandError.h"

#include <zan/zan_api_functions.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace TESK_ZAN;

namespace
{

constexpr const char* CLOUD_EXTENSIONS = ".ply, .xyz, .txt, .asc, .bin";

void checkHoldsPoints(const std::string& name)
{
    switch (getFileType(name)) {
    case FT_PLY:
    case FT_ASCII:
    case FT_BIN:
        return;
    case FT_STL:
        throw CommandError(
            ExitCode::Usage,
            "'" + name +
                "' is a triangle file, and this takes points. 'zan melt' takes triangles, and so "
                "does --fmelt (-m) with --spacing (-a).");
    default:
        throw CommandError(ExitCode::Usage, "the ending of '" + name +
                                                "' does not tell what is in it. Point files end in one of " +
                                                CLOUD_EXTENSIONS + ".");
    }
}

} // namespace

void checkReadable(const std::string& name)
{
    if (std::filesystem::is_directory(name))
        throw CommandError(ExitCode::FileTrouble, "'" + name + "' is a folder. Name a file in it.");
    errno = 0;
    if (!std::ifstream(name))
        throw CommandError(ExitCode::FileTrouble,
                           "cannot read '" + name + "': " + std::strerror(errno) + ". Check the path.");
}

std::vector<Point3> readCloud(const std::string& name)
{
    std::vector<Point3> vPoints;
    if (name == SAMPLE_NAME) {
        sampleScan(vPoints);
        return vPoints;
    }
    checkHoldsPoints(name);
    checkReadable(name);
    std::string nameForLibrary = name;
    if (!readPoints_auto(nameForLibrary, vPoints))
        throw CommandError(ExitCode::FileTrouble,
                           "'" + name +
                               "' could not be read as what its ending says; a message "
                               "above may tell why. Check the file or its ending.");
    if (vPoints.empty())
        throw CommandError(
            ExitCode::NothingCameOut,
            "'" + name +
                "' holds no points. A text file has x y z at the start of each line, with blanks "
                "between and a decimal point.");
    return vPoints;
}

bool plyHasFaces(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    std::string line;
    while (std::getline(file, line) && line.rfind("end_header", 0) != 0) {
        std::istringstream words(line);
        std::string element;
        std::string face;
        double num = 0.0;
        if (words >> element >> face >> num && element == "element" && face == "face")
            return num > 0.0;
    }
    return false;
}
