#include "Membrane.h"

#include <cmath>
#include <numbers>

namespace TESK_ZAN
{

namespace
{

constexpr std::size_t MAX_LOOP = 20000;
constexpr std::size_t MAX_POINTS = 1'000'000;

// Of the area of a circle of the same length. Below, the loop is a slit.
constexpr double MIN_ROUNDNESS = 0.01;

// Rounds of smoothing in which teeth must have gone.
constexpr int MAX_TOOTH_ROUNDS = 40;

constexpr int SWEEPS_PER_WIDTH = 3;
constexpr double PI = std::numbers::pi;

// The rows of a sparse matrix: the neighbours of each point.
struct Neighbours {
    std::vector<std::size_t> vFirst, vNeighbour;

    explicit Neighbours(const PlaneNet& net) : vFirst(net.getPoints().size() + 1, 0)
    {
        const std::size_t numT = net.getNumTriangles();
        for (std::size_t i = 0; i < numT; ++i)
            for (const std::size_t corner : net.getTriangle(i))
                ++vFirst[corner + 1];
        for (std::size_t i = 1; i < vFirst.size(); ++i)
            vFirst[i] += vFirst[i - 1];
        vNeighbour.resize(vFirst.back());
        std::vector<std::size_t> vEnd(vFirst.begin(), vFirst.end() - 1);
        for (std::size_t i = 0; i < numT; ++i)
            for (std::size_t k = 0; k < 3; ++k) { // the next one: all of them, round an inner point
                const auto& corners = net.getTriangle(i);
                vNeighbour[vEnd[corners[k]]++] = corners[(k + 1) % 3];
            }
    }
};

// Lets each shift from numFixed on be the mean of its neighbours'. By over-relaxation.
void makeHarmonic(const PlaneNet& net, std::size_t numFixed, std::vector<Vector3>& vShift)
{
    const Neighbours neighbours(net);
    const double width = std::sqrt(static_cast<double>(vShift.size())) + 1.0;
    const double omega = 2.0 / (1.0 + std::sin(PI / width));
    const int numSweeps = SWEEPS_PER_WIDTH * static_cast<int>(width);
    for (int sweep = 0; sweep < numSweeps; ++sweep)
        for (std::size_t i = numFixed; i < vShift.size(); ++i) {
            Vector3 sum;
            const std::size_t first = neighbours.vFirst[i], last = neighbours.vFirst[i + 1];
            for (std::size_t k = first; k < last; ++k)
                sum += vShift[neighbours.vNeighbour[k]];
            vShift[i] += (sum / static_cast<double>(last - first) - vShift[i]) * omega;
        }
}

} // namespace

Membrane::Membrane(const std::vector<const Point3*>& vLoop_) : vLoop(vLoop_) {}

bool Membrane::run(const std::function<bool(std::size_t, std::size_t)>& isTaken)
{
    if (vLoop.size() < 3 || vLoop.size() > MAX_LOOP || !makePolygon())
        return false;
    PlaneNet& rNet = oNet.emplace(vPolygon);
    if (!rNet.triangulate())
        return false;
    rNet.refine(1.0, MAX_POINTS);
    rNet.splitChords(isTaken);
    place();
    return true;
}

// Seen along the normal, with teeth smoothed away.
bool Membrane::makePolygon()
{
    const std::size_t n = vLoop.size();
    double x = 0.0, y = 0.0, z = 0.0, length = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        vLoop[i]->addOwnCoords(x, y, z);
        length += (*vLoop[(i + 1) % n] - *vLoop[i]).length();
    }
    const auto num = static_cast<double>(n);
    origin.set(x / num, y / num, z / num);
    const double edgeLen = length / num;
    Vector3 up; // twice the area, in squares of an edge
    for (std::size_t i = 0; i < n; ++i)
        up += crossProd((*vLoop[i] - origin) / edgeLen, (*vLoop[(i + 1) % n] - origin) / edgeLen);
    const double area = up.length() / 2.0;
    if (!std::isfinite(area) || !(4.0 * PI * area > MIN_ROUNDNESS * num * num))
        return false;
    up = up / (2.0 * area);
    const Vector3 helper = up.getMaxAbsIndex() == 0 ? Vector3(0.0, 1.0, 0.0) : Vector3(1.0, 0.0, 0.0);
    ahead = normalize(crossProd(up, helper));
    aside = crossProd(up, ahead);
    for (const Point3* p : vLoop) {
        const Vector3 offset = (*p - origin) / edgeLen;
        vPolygon.push_back({offset * ahead, offset * aside});
    }
    ahead = ahead * edgeLen;
    aside = aside * edgeLen;
    return smoothTeeth();
}

bool Membrane::smoothTeeth()
{
    const std::size_t n = vPolygon.size();
    for (int round = 0; round < MAX_TOOTH_ROUNDS; ++round) {
        if (PlaneNet::isSimple(vPolygon))
            return true;
        const std::vector<PlanePoint> vOld = vPolygon;
        for (std::size_t i = 0; i < n; ++i) {
            const PlanePoint &prev = vOld[(i + n - 1) % n], &own = vOld[i], &next = vOld[(i + 1) % n];
            vPolygon[i] = {(prev.x + 2.0 * own.x + next.x) / 4.0, (prev.y + 2.0 * own.y + next.y) / 4.0};
        }
    }
    return false;
}

Point3 Membrane::lift(const PlanePoint& p) const
{
    return origin + (ahead * p.x + aside * p.y);
}

void Membrane::place()
{
    const std::vector<PlanePoint>& vPoints = oNet->getPoints();
    std::vector<Vector3> vShift(vPoints.size());
    for (std::size_t i = 0; i < vLoop.size(); ++i)
        vShift[i] = *vLoop[i] - lift(vPoints[i]);
    makeHarmonic(*oNet, vLoop.size(), vShift);
    for (std::size_t i = vLoop.size(); i < vPoints.size(); ++i)
        vInner.push_back(lift(vPoints[i]) + vShift[i]);
}

} // namespace TESK_ZAN
