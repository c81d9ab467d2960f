// Takes a triangle soup to a level set of OpenVDB and back to a mesh, and prints what it cost as one line of
// JSON, as "roads melt" does.
//
//   level_set SOUP CELL [--threads T] [--out MESH.ply] [--quality 1]
#include "roadReport.h"
#include "soups.h"
#include "zan_api_functions.h"

#include <openvdb/openvdb.h>
#include <openvdb/tools/MeshToVolume.h>
#include <openvdb/tools/VolumeToMesh.h>

#include <tbb/global_control.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using TESK_ZAN::Point3;

namespace
{

struct Options {
    std::string soup;
    double cell = 0.0;
    int numThreads = 0;
    std::string out;
    bool bQuality = false;
};

struct Surface {
    std::vector<Point3> vPoints;
    std::vector<std::uint32_t> vIndices;
};

Options parse(int argc, char** argv)
{
    if (argc < 3)
        throw std::invalid_argument("no soup and cell");
    Options options;
    options.soup = argv[1];
    options.cell = std::stod(argv[2]);
    for (int i = 3; i < argc; i += 2) {
        const std::string name = argv[i];
        if (i + 1 == argc)
            throw std::invalid_argument("no value for " + name);
        if (name == "--out")
            options.out = argv[i + 1];
        else if (name == "--threads")
            options.numThreads = std::stoi(argv[i + 1]);
        else if (name == "--quality")
            options.bQuality = std::stoi(argv[i + 1]) != 0;
        else
            throw std::invalid_argument("unknown option " + name);
    }
    return options;
}

// The triangles as they lie in the file, then as the peer wants them: shared vertices are no need of it.
Surface remesh(const std::vector<Point3>& vCorners, double cell)
{
    std::vector<openvdb::Vec3s> vVdbPoints;
    std::vector<openvdb::Vec3I> vVdbTriangles;
    vVdbPoints.reserve(vCorners.size());
    for (const Point3& p : vCorners)
        vVdbPoints.emplace_back(static_cast<float>(p.x()), static_cast<float>(p.y()),
                                static_cast<float>(p.z()));
    for (std::uint32_t i = 0; i + 2 < vCorners.size(); i += 3)
        vVdbTriangles.emplace_back(i, i + 1, i + 2);
    const auto transform = openvdb::math::Transform::createLinearTransform(cell);
    const auto grid =
        openvdb::tools::meshToLevelSet<openvdb::FloatGrid>(*transform, vVdbPoints, vVdbTriangles);

    std::vector<openvdb::Vec3s> vPoints;
    std::vector<openvdb::Vec3I> vTriangles;
    std::vector<openvdb::Vec4I> vQuads;
    openvdb::tools::volumeToMesh(*grid, vPoints, vTriangles, vQuads);
    Surface surface;
    for (const openvdb::Vec3s& p : vPoints)
        surface.vPoints.emplace_back(p.x(), p.y(), p.z());
    for (const openvdb::Vec3I& t : vTriangles)
        surface.vIndices.insert(surface.vIndices.end(), {t[0], t[1], t[2]});
    for (const openvdb::Vec4I& q : vQuads)
        surface.vIndices.insert(surface.vIndices.end(), {q[0], q[1], q[2], q[0], q[2], q[3]});
    return surface;
}

void writeMesh(const std::string& name, const Surface& surface)
{
    std::ofstream out(name, std::ios::binary);
    out << "ply\nformat binary_little_endian 1.0\nelement vertex " << surface.vPoints.size()
        << "\nproperty float x\nproperty float y\nproperty float z\nelement face "
        << surface.vIndices.size() / 3 << "\nproperty list uchar int vertex_indices\nend_header\n";
    for (const Point3& p : surface.vPoints) {
        const std::array<float, 3> xyz = {static_cast<float>(p.x()), static_cast<float>(p.y()),
                                          static_cast<float>(p.z())};
        out.write(reinterpret_cast<const char*>(xyz.data()), sizeof(xyz));
    }
    for (std::size_t i = 0; i < surface.vIndices.size(); i += 3) {
        out.put(3);
        out.write(reinterpret_cast<const char*>(surface.vIndices.data() + i), 3 * sizeof(std::uint32_t));
    }
    if (!out.flush())
        throw std::runtime_error("cannot write " + name);
}

int run(const Options& options)
{
    TESK_ZAN::setMessageStream(nullptr);
    std::optional<tbb::global_control> limit;
    if (options.numThreads > 0)
        limit.emplace(tbb::global_control::max_allowed_parallelism,
                      static_cast<std::size_t>(options.numThreads));
    openvdb::initialize();
    const std::vector<Point3> vCorners = readSoup(options.soup);

    const Stopwatch watch;
    const Surface surface = remesh(vCorners, options.cell);
    const Costs costs = watch.getCosts();

    std::cout << "{\"input_triangles\": " << vCorners.size() / 3 << ", \"cell\": " << options.cell
              << ", \"triangles\": " << surface.vIndices.size() / 3 << ", ";
    printCosts(std::cout, surface.vPoints.size(), costs);
    if (options.bQuality) {
        std::cout << ", ";
        printQuality(std::cout, qualityOf(surface.vPoints.size(), surface.vIndices));
        std::cout << ", ";
        printEdgeDistances(std::cout,
                           sharpEdgeDistances(vCorners, surface.vPoints, surface.vIndices, options.cell));
    }
    std::cout << "}" << std::endl;
    if (!options.out.empty())
        writeMesh(options.out, surface);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(parse(argc, argv));
    } catch (const std::exception& error) {
        std::cerr << "level_set: " << error.what()
                  << "\nusage: level_set SOUP CELL [--threads T] [--out MESH.ply] [--quality 1]\n";
        return EXIT_FAILURE;
    }
}
