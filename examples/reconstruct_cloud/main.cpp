// A host program in one file: coloured points in, coloured mesh out, progress on the way.
//
//   reconstruct_cloud OUT.ply            a torus that the program makes itself
//   reconstruct_cloud OUT.ply IN.ply     a cloud from a file (.ply, .xyz, .txt, .asc, .bin)
#include <zan/zan_api_functions.h>

#include <cmath>
#include <iostream>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace
{

// Gets a call about two hundred times a run, on the thread that runs it. Throwing from here cancels the run.
class PercentPrinter : public TESK_ZAN::ProgressBase
{
public:
    void progressChanged(const std::string& treeName, double fraction) override
    {
        const int percent = static_cast<int>(fraction * 100.0);
        if (percent / 10 == lastPercent / 10)
            return;
        lastPercent = percent;
        std::cerr << treeName << ": " << percent << " %\n";
    }

private:
    int lastPercent = 0;
};

// An even torus whose colours run around it, red one way and green the other.
std::vector<TESK_ZAN::Point3> makeTorus()
{
    constexpr int numAround = 300;
    constexpr int numTube = 120;
    constexpr double fullTurn = 2.0 * std::numbers::pi;
    std::vector<TESK_ZAN::Point3> vPoints;
    for (int i = 0; i < numAround; ++i) {
        for (int j = 0; j < numTube; ++j) {
            const double around = fullTurn * i / numAround;
            const double tube = fullTurn * j / numTube;
            const double radius = 1.0 + 0.4 * std::cos(tube);
            TESK_ZAN::Point3 point(radius * std::cos(around), radius * std::sin(around),
                                   0.4 * std::sin(tube));
            point.setColor(static_cast<unsigned char>(255 * i / numAround),
                           static_cast<unsigned char>(255 * j / numTube), 128, 255);
            vPoints.push_back(point);
        }
    }
    return vPoints;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "usage: reconstruct_cloud OUT.ply [IN]\n";
        return 2;
    }
    const std::string outName = argv[1];

    std::vector<TESK_ZAN::Point3> vPoints;
    if (argc > 2) {
        std::string inName = argv[2];
        if (!TESK_ZAN::readPoints_auto(inName, vPoints))
            return 1;
    } else {
        vPoints = makeTorus();
    }

    PercentPrinter printer;
    TESK_ZAN::subscribe(&printer); // for this thread, until the printer dies

    // Cells of the detected spacing; holes of up to two cells are filled.
    const std::shared_ptr<TESK_ZAN::Mesh> pMesh = TESK_ZAN::reconstruct_auto(vPoints, 1.0, 2);
    if (pMesh == nullptr) // a warning has told why
        return 1;
    std::cout << vPoints.size() << " points, " << pMesh->getNumT() << " triangles\n";

    // The flag of writeMesh_auto is reversed for PLY, for compatibility: true gives the binary form.
    return TESK_ZAN::writeMesh_auto(outName, pMesh, true) ? 0 : 1;
}
