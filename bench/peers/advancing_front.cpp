// Runs the advancing front surface reconstruction of CGAL on a cloud and prints what it cost as one line of
// JSON, as bench/roads does.
//
//   advancing_front FILE [--out MESH.ply] [--quality 1]
#include "keepFreedMemory.h"
#include "roadReport.h"
#include "zan_api_functions.h"

#include <CGAL/Advancing_front_surface_reconstruction.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using PeerPoint = CGAL::Exact_predicates_inexact_constructions_kernel::Point_3;
using Facet = std::array<std::size_t, 3>;

struct Options {
    std::string cloud;
    std::string out;
    bool bQuality = false;
};

Options parse(int argc, char** argv)
{
    if (argc < 2)
        throw std::invalid_argument("no cloud");
    Options options;
    options.cloud = argv[1];
    for (int i = 2; i < argc; i += 2) {
        const std::string name = argv[i];
        if (i + 1 == argc)
            throw std::invalid_argument("no value for " + name);
        if (name == "--out")
            options.out = argv[i + 1];
        else if (name == "--quality")
            options.bQuality = std::stoi(argv[i + 1]) != 0;
        else
            throw std::invalid_argument("unknown option " + name);
    }
    return options;
}

// The points of the file in the peer's type; nothing else is left of them.
std::vector<PeerPoint> readCloud(std::string name)
{
    std::vector<TESK_ZAN::Point3> vRead;
    if (!TESK_ZAN::readPoints_auto(name, vRead))
        throw std::runtime_error("cannot read " + name);
    std::vector<PeerPoint> vPoints;
    vPoints.reserve(vRead.size());
    for (const TESK_ZAN::Point3& p : vRead)
        vPoints.emplace_back(p.x(), p.y(), p.z());
    return vPoints;
}

// Binary PLY with all points, used or not.
void writeMesh(const std::string& name, const std::vector<PeerPoint>& vPoints,
               const std::vector<Facet>& vFacets)
{
    std::ofstream out(name, std::ios::binary);
    out << "ply\nformat binary_little_endian 1.0\nelement vertex " << vPoints.size()
        << "\nproperty float x\nproperty float y\nproperty float z\nelement face " << vFacets.size()
        << "\nproperty list uchar int vertex_indices\nend_header\n";
    for (const PeerPoint& p : vPoints) {
        const std::array<float, 3> xyz = {static_cast<float>(p.x()), static_cast<float>(p.y()),
                                          static_cast<float>(p.z())};
        out.write(reinterpret_cast<const char*>(xyz.data()), sizeof(xyz));
    }
    for (const Facet& facet : vFacets) {
        const std::array<std::int32_t, 3> corners = {static_cast<std::int32_t>(facet[0]),
                                                     static_cast<std::int32_t>(facet[1]),
                                                     static_cast<std::int32_t>(facet[2])};
        out.put(3);
        out.write(reinterpret_cast<const char*>(corners.data()), sizeof(corners));
    }
    if (!out.flush())
        throw std::runtime_error("cannot write " + name);
}

MeshQuality facetQuality(std::size_t numPoints, const std::vector<Facet>& vFacets)
{
    std::vector<std::uint32_t> vIndices;
    vIndices.reserve(3 * vFacets.size());
    for (const Facet& facet : vFacets)
        for (const std::size_t corner : facet)
            vIndices.push_back(static_cast<std::uint32_t>(corner));
    return qualityOf(numPoints, vIndices);
}

int run(const Options& options)
{
    TESK_ZAN::setMessageStream(nullptr);
    const std::vector<PeerPoint> vPoints = readCloud(options.cloud);

    std::vector<Facet> vFacets;
    const Stopwatch watch;
    CGAL::advancing_front_surface_reconstruction(vPoints.begin(), vPoints.end(), std::back_inserter(vFacets));
    const Costs costs = watch.getCosts();

    std::cout << "{\"points\": " << vPoints.size() << ", \"triangles\": " << vFacets.size() << ", ";
    printCosts(std::cout, vPoints.size(), costs);
    if (options.bQuality) {
        std::cout << ", ";
        printQuality(std::cout, facetQuality(vPoints.size(), vFacets));
    }
    std::cout << "}" << std::endl;
    if (!options.out.empty())
        writeMesh(options.out, vPoints, vFacets);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    keepFreedMemory();
    try {
        return run(parse(argc, argv));
    } catch (const std::exception& error) {
        std::cerr << "advancing_front: " << error.what()
                  << "\nusage: advancing_front FILE [--out MESH.ply] [--quality 1]\n";
        return EXIT_FAILURE;
    }
}
