#include "namedFiles.h"

#include "CommandError.h"

#include <zan/zan_api_functions.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace TESK_ZAN;

namespace
{

constexpr const char* CLOUD_EXTENSIONS = ".ply, .xyz, .txt, .asc, .bin";
constexpr const char* SOUP_EXTENSIONS = ".stl, .ply or .obj";

bool isObjName(const std::string& name)
{
    std::string extension = std::filesystem::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".obj";
}

bool isSoupName(const std::string& name)
{
    const FileType type = getFileType(name);
    return type == FT_STL || type == FT_PLY || isObjName(name);
}

void checkCloudName(const std::string& name)
{
    if (getFileType(name) == FT_STL || isObjName(name))
        throw CommandError(
            ExitCode::Usage,
            "'" + name +
                "' is a triangle file, and this takes points. 'zan melt' takes triangles, and so "
                "does --fmelt (-m) with --spacing (-a).");
    if (!isPointsName(name) || getFileType(name) == FT_LIST)
        throw CommandError(ExitCode::Usage, "the ending of '" + name +
                                                "' does not tell what is in it. Point files end in one of " +
                                                CLOUD_EXTENSIONS + ".");
}

void checkReadable(const std::string& name)
{
    std::error_code none; // the attempt to open it tells better what is wrong
    if (std::filesystem::is_directory(name, none))
        throw CommandError(ExitCode::FileTrouble, "'" + name + "' is a folder. Name a file in it.");
    errno = 0;
    if (!std::ifstream(name))
        throw CommandError(ExitCode::FileTrouble,
                           "cannot read '" + name + "': " + std::strerror(errno) + ". Check the path.");
}

[[noreturn]] void failToRead(const std::string& name)
{
    throw CommandError(ExitCode::FileTrouble, "'" + name +
                                                  "' could not be read as what its ending says; a message "
                                                  "above may tell why. Check the file or its ending.");
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

} // namespace

std::vector<Point3> readCloud(const std::string& name, int colorColumn)
{
    std::vector<Point3> vPoints;
    if (name == SAMPLE_NAME) {
        sampleScan(vPoints);
        return vPoints;
    }
    checkCloudName(name);
    checkReadable(name);
    if (!loadPoints(name, vPoints, colorColumn))
        failToRead(name);
    if (vPoints.empty())
        throw CommandError(
            ExitCode::NothingCameOut,
            "'" + name +
                "' holds no points. A text file has x y z at the start of each line, with blanks "
                "between and a decimal point.");
    return vPoints;
}

std::vector<Point3> readSoup(const std::string& name)
{
    if (!isSoupName(name))
        throw CommandError(ExitCode::Usage, "the ending of '" + name +
                                                "' does not tell what is in it. Triangle files end in " +
                                                SOUP_EXTENSIONS + ".");
    checkReadable(name);
    std::vector<Point3> vCorners;
    if (!loadTriangles(name, vCorners))
        failToRead(name);
    if (vCorners.empty())
        throw CommandError(ExitCode::NothingCameOut,
                           "'" + name + "' holds no triangles. 'zan reconstruct' makes some of points.");
    return vCorners;
}

std::shared_ptr<Mesh> readMesh(const std::string& name)
{
    std::vector<Point3> vCorners = readSoup(name);
    std::shared_ptr<Mesh> pMesh = meshFromTriangles(vCorners);
    if (pMesh == nullptr)
        throw CommandError(ExitCode::NothingCameOut, "no triangle of '" + name + "' has three corners.");
    return pMesh;
}

bool holdsTriangles(const std::string& name)
{
    return isSoupName(name) && (getFileType(name) != FT_PLY || plyHasFaces(name));
}

bool isMeshName(const std::string& outName)
{
    return isSoupName(outName) || getFileType(outName) == FT_LIST;
}

bool isPointsName(const std::string& outName)
{
    const FileType type = getFileType(outName);
    return type == FT_PLY || type == FT_ASCII || type == FT_BIN || type == FT_LIST;
}

void checkHoldsMesh(const std::string& outName)
{
    if (!isMeshName(outName))
        throw CommandError(ExitCode::Usage, "the ending of '" + outName +
                                                "' does not tell which kind of mesh file to write. Use " +
                                                ".ply, .stl, .obj or .list.");
}

void checkHoldsPoints(const std::string& outName)
{
    if (!isPointsName(outName))
        throw CommandError(ExitCode::Usage, "the ending of '" + outName +
                                                "' does not tell which kind of point file to write. Use " +
                                                ".ply, .xyz, .txt, .asc, .bin or .list.");
}
