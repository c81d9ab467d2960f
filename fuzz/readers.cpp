// The bytes are a file.
#include "FuzzTarget.h"

#include "helpers/tempDir.h"
#include "inputs.h"

#include <string>

using TESK_ZAN::Point3;

namespace zan_fuzz
{

namespace
{

// Readers append: what stood before has to stay, with whatever colour it has.
const Point3 BEFORE(1.0, 2.0, 3.0, 4, 5, 6, 7);

std::string fileOf(Bytes bytes, const char* name)
{
    static const zan_test::TempDir folder;
    return folder.write(name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

// Runs a reader on an empty vector and on one that is not. step: how many points belong together.
template <class F>
Points checkReader(F read, std::size_t step)
{
    Points vPoints;
    const bool bRead = read(vPoints);
    require(bRead || vPoints.empty(), "a reader that fails leaves an empty vector empty");
    require(vPoints.size() % step == 0, "whole triangles");
    Points vAppended{BEFORE};
    require(read(vAppended) == bRead, "the same file is read alike");
    require(vAppended.size() == vPoints.size() + 1, "the same number of points behind others");
    require(sameBytes({vAppended.front()}, {BEFORE}), "points that stood before stay");
    return vPoints;
}

// What was read is written and read again: equal to the last bit.
void checkRoundTrip(Points vPoints)
{
    if (vPoints.empty() || !allFinite(vPoints))
        return;
    const std::string name = fileOf({}, "again.ply");
    require(TESK_ZAN::savePoints(name, vPoints, false), "points can be written");
    Points vAgain;
    require(TESK_ZAN::loadPoints(name, vAgain, 0), "what was written can be read");
    require(vAgain == vPoints, "points survive a file");
}

} // namespace

void readPlyPoints(Bytes bytes)
{
    const std::string name = fileOf(bytes, "cloud.ply");
    checkReader([&](Points& v) { return TESK_ZAN::readPly(name.c_str(), true, v); }, 1);
    checkRoundTrip(checkReader([&](Points& v) { return TESK_ZAN::loadPoints(name, v, 0); }, 1));
}

void readPlyFaces(Bytes bytes)
{
    const std::string name = fileOf(bytes, "soup.ply");
    checkReader([&](Points& v) { return TESK_ZAN::readPly(name.c_str(), false, v); }, 3);
    checkReader([&](Points& v) { return TESK_ZAN::loadTriangles(name, v); }, 3);
}

void readTextPoints(Bytes bytes)
{
    const std::string name = fileOf(bytes, "cloud.xyz");
    const Points vPlain =
        checkReader([&](Points& v) { return TESK_ZAN::readPoints_ASCII(name.c_str(), v); }, 1);
    for (const int colorColumn : {4, 6})
        require(
            checkReader([&](Points& v) { return TESK_ZAN::loadPoints(name, v, colorColumn); }, 1).size() ==
                vPlain.size(),
            "colours change nothing in what is a point");
}

void readBinaryPoints(Bytes bytes)
{
    const std::string name = fileOf(bytes, "cloud.bin");
    checkRoundTrip(checkReader([&](Points& v) { return TESK_ZAN::readPoints_BIN(name.c_str(), v); }, 1));
}

void readTextStl(Bytes bytes)
{
    const std::string name = fileOf(bytes, "soup.stl");
    checkReader([&](Points& v) { return TESK_ZAN::readSTL_ASCII(name.c_str(), v); }, 1);
    checkReader([&](Points& v) { return TESK_ZAN::loadTriangles(name, v); }, 3);
}

void readBinaryStl(Bytes bytes)
{
    const std::string name = fileOf(bytes, "soup.stl");
    checkReader([&](Points& v) { return TESK_ZAN::loadTriangles(name, v); }, 3);
}

void readObjFile(Bytes bytes)
{
    const std::string name = fileOf(bytes, "soup.obj");
    checkReader([&](Points& v) { return TESK_ZAN::loadTriangles(name, v); }, 3);
}

} // namespace zan_fuzz
