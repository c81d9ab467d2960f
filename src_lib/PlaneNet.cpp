#include "PlaneNet.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>

namespace TESK_ZAN
{

namespace
{

constexpr int EVEN_ROUNDS = 4;

// A flip must gain more than rounding, or two diagonals of a square would go on changing places.
constexpr double MIN_GAIN = 1e-9;

double orientOf(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool meet(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c, const PlanePoint& d)
{
    const double c0 = orientOf(a, b, c), d0 = orientOf(a, b, d), a0 = orientOf(c, d, a),
                 b0 = orientOf(c, d, b);
    const auto within = [](double lo, double hi, double t) {
        return std::min(lo, hi) <= t && t <= std::max(lo, hi);
    };
    const auto isOn = [&](double area, const PlanePoint& p, const PlanePoint& q, const PlanePoint& r) {
        return area == 0.0 && within(p.x, q.x, r.x) && within(p.y, q.y, r.y);
    };
    return ((c0 > 0.0) != (d0 > 0.0) && (a0 > 0.0) != (b0 > 0.0)) || isOn(c0, a, b, c) || isOn(d0, a, b, d) ||
           isOn(a0, c, d, a) || isOn(b0, c, d, b);
}

// Above 0 if d lies in the circle round a, b, c; in units of the fourth power of their distances.
double inCircle(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c, const PlanePoint& d)
{
    const double ax = a.x - d.x, ay = a.y - d.y, bx = b.x - d.x, by = b.y - d.y, cx = c.x - d.x,
                 cy = c.y - d.y;
    const double sqA = ax * ax + ay * ay, sqB = bx * bx + by * by, sqC = cx * cx + cy * cy;
    const double det = sqA * (bx * cy - by * cx) - sqB * (ax * cy - ay * cx) + sqC * (ax * by - ay * bx);
    const double sqLargest = std::max({sqA, sqB, sqC});
    return det - MIN_GAIN * sqLargest * sqLargest;
}

} // namespace

PlaneNet::PlaneNet(const std::vector<PlanePoint>& vPolygon) : numCorners(vPolygon.size()), vPoints(vPolygon)
{
}

bool PlaneNet::isSimple(const std::vector<PlanePoint>& vPolygon)
{
    const std::size_t n = vPolygon.size();
    const auto loX = [&](std::size_t side) { return std::min(vPolygon[side].x, vPolygon[(side + 1) % n].x); };
    const auto hiX = [&](std::size_t side) { return std::max(vPolygon[side].x, vPolygon[(side + 1) % n].x); };
    std::vector<std::size_t> vSides(n);
    for (std::size_t i = 0; i < n; ++i)
        vSides[i] = i;
    std::stable_sort(vSides.begin(), vSides.end(),
                     [&](std::size_t a, std::size_t b) { return loX(a) < loX(b); });
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t k = i + 1; k < n && loX(vSides[k]) <= hiX(vSides[i]); ++k) {
            std::size_t a = vSides[i], b = vSides[k];
            if ((b + 1) % n == a)
                std::swap(a, b);
            const PlanePoint &a0 = vPolygon[a], &a1 = vPolygon[(a + 1) % n], &b0 = vPolygon[b],
                             &b1 = vPolygon[(b + 1) % n];
            if ((a + 1) % n != b) {
                if (meet(a0, a1, b0, b1))
                    return false;
            } else if (orientOf(a0, a1, b1) == 0.0 &&
                       (a1.x - a0.x) * (b1.x - b0.x) + (a1.y - a0.y) * (b1.y - b0.y) <= 0.0) {
                return false; // back on the same line
            }
        }
    return true;
}

double PlaneNet::orient(std::size_t a, std::size_t b, std::size_t c) const
{
    return orientOf(vPoints[a], vPoints[b], vPoints[c]);
}

// Cuts ears in the order of the corners, then flips.
bool PlaneNet::triangulate()
{
    const std::size_t n = numCorners;
    if (n < 3 || !isSimple(vPoints))
        return false;
    std::vector<std::size_t> vPrev(n), vNext(n), vReflex;
    for (std::size_t i = 0; i < n; ++i) {
        vPrev[i] = (i + n - 1) % n;
        vNext[i] = (i + 1) % n;
    }
    const auto isReflex = [&](std::size_t i) { return orient(vPrev[i], i, vNext[i]) <= 0.0; };
    for (std::size_t i = 0; i < n; ++i)
        if (isReflex(i))
            vReflex.push_back(i);
    std::size_t corner = 0, numLeft = n;
    for (std::size_t numTried = 0; numLeft > 3 && numTried <= numLeft; ++numTried) {
        const std::size_t prev = vPrev[corner], next = vNext[corner];
        if (isEar(prev, corner, next, vReflex)) {
            vTri.push_back({{prev, corner, next}});
            vNext[prev] = next;
            vPrev[next] = prev;
            std::erase_if(vReflex, [&](std::size_t i) { return (i == prev || i == next) && !isReflex(i); });
            --numLeft;
            numTried = 0;
            corner = vNext[next]; // not beside the last ear, else they become a fan
        } else {
            corner = next;
        }
    }
    if (numLeft > 3)
        return false;
    vTri.push_back({{vPrev[corner], corner, vNext[corner]}});
    linkNeighbours();
    for (std::size_t i = 0; i < vTri.size(); ++i)
        pushSides(i);
    flipAll();
    return true;
}

bool PlaneNet::isEar(std::size_t prev, std::size_t corner, std::size_t next,
                     const std::vector<std::size_t>& vReflex) const
{
    return orient(prev, corner, next) > 0.0 &&
           std::none_of(vReflex.begin(), vReflex.end(), [&](std::size_t i) {
               return i != prev && i != corner && i != next && orient(prev, corner, i) >= 0.0 &&
                      orient(corner, next, i) >= 0.0 && orient(next, prev, i) >= 0.0;
           });
}

void PlaneNet::linkNeighbours()
{
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> mSide2Tri;
    for (std::size_t tri = 0; tri < vTri.size(); ++tri)
        for (std::size_t k = 0; k < 3; ++k)
            mSide2Tri[{vTri[tri].corners[(k + 1) % 3], vTri[tri].corners[(k + 2) % 3]}] = tri;
    for (Tri& tri : vTri)
        for (std::size_t k = 0; k < 3; ++k) {
            const auto found = mSide2Tri.find({tri.corners[(k + 2) % 3], tri.corners[(k + 1) % 3]});
            tri.neighbours[k] = found == mSide2Tri.end() ? NONE : found->second;
        }
}

std::size_t PlaneNet::slotOf(std::size_t tri, std::size_t neighbour) const
{
    const auto& neighbours = vTri[tri].neighbours;
    return std::size_t(std::find(neighbours.begin(), neighbours.end(), neighbour) - neighbours.begin());
}

void PlaneNet::replaceNeighbour(std::size_t tri, std::size_t oldNeighbour, std::size_t newNeighbour)
{
    if (tri != NONE)
        vTri[tri].neighbours[slotOf(tri, oldNeighbour)] = newNeighbour;
}

void PlaneNet::pushSides(std::size_t tri)
{
    for (std::size_t k = 0; k < 3; ++k)
        vToTest.emplace_back(tri, k);
}

void PlaneNet::flipAll()
{
    while (!vToTest.empty()) {
        const auto [tri, slot] = vToTest.back();
        vToTest.pop_back();
        tryFlip(tri, slot);
    }
}

// With a opposite the edge in this triangle and d in the other one:
//
//        a               a
//      /   \           / | \      ...
//     b-----c   ->    b  |  c
//      \   /           \ | /
//        d               d
//
bool PlaneNet::tryFlip(std::size_t tri, std::size_t slot)
{
    const std::size_t other = vTri[tri].neighbours[slot];
    if (other == NONE)
        return false;
    const std::size_t otherSlot = slotOf(other, tri);
    const std::size_t a = vTri[tri].corners[slot], b = vTri[tri].corners[(slot + 1) % 3],
                      c = vTri[tri].corners[(slot + 2) % 3], d = vTri[other].corners[otherSlot];
    if (inCircle(vPoints[a], vPoints[b], vPoints[c], vPoints[d]) <= 0.0 || orient(a, b, d) <= 0.0 ||
        orient(a, d, c) <= 0.0)
        return false;
    const std::size_t beyondAB = vTri[tri].neighbours[(slot + 2) % 3],
                      beyondCA = vTri[tri].neighbours[(slot + 1) % 3];
    const std::size_t beyondBD = vTri[other].neighbours[(otherSlot + 1) % 3],
                      beyondDC = vTri[other].neighbours[(otherSlot + 2) % 3];
    vTri[tri] = {{a, b, d}, {beyondBD, other, beyondAB}};
    vTri[other] = {{a, d, c}, {beyondDC, beyondCA, tri}};
    replaceNeighbour(beyondBD, other, tri);
    replaceNeighbour(beyondCA, tri, other);
    vToTest.insert(vToTest.end(), {{tri, 0}, {tri, 2}, {other, 0}, {other, 1}});
    return true;
}

// True if its middle lies further from the corners than it would in an even triangle of 1.2 times the size.
bool PlaneNet::isTooLarge(const Tri& tri, double size) const
{
    const PlanePoint &a = vPoints[tri.corners[0]], &b = vPoints[tri.corners[1]], &c = vPoints[tri.corners[2]];
    const double x = (a.x + b.x + c.x) / 3.0, y = (a.y + b.y + c.y) / 3.0;
    const double minSqDistance = 0.5 * size * size;
    return std::all_of(tri.corners.begin(), tri.corners.end(), [&](std::size_t i) {
        const double dx = vPoints[i].x - x, dy = vPoints[i].y - y;
        return dx * dx + dy * dy > minSqDistance;
    });
}

void PlaneNet::refine(double size, std::size_t maxPoints)
{
    for (bool bSplit = true; bSplit;) {
        bSplit = false;
        const std::size_t numBefore = vTri.size();
        for (std::size_t i = 0; i < numBefore && vPoints.size() < maxPoints; ++i) {
            if (!isTooLarge(vTri[i], size))
                continue;
            const PlanePoint &a = vPoints[vTri[i].corners[0]], &b = vPoints[vTri[i].corners[1]],
                             &c = vPoints[vTri[i].corners[2]];
            splitAt(i, {(a.x + b.x + c.x) / 3.0, (a.y + b.y + c.y) / 3.0});
            flipAll();
            bSplit = true;
        }
    }
    for (int round = 0; round < EVEN_ROUNDS; ++round)
        evenOut();
}

void PlaneNet::splitAt(std::size_t tri, const PlanePoint& point)
{
    const Tri old = vTri[tri];
    const std::size_t mid = vPoints.size(), second = vTri.size(), third = second + 1;
    const auto [a, b, c] = old.corners;
    vPoints.push_back(point);
    vTri[tri] = {{mid, b, c}, {old.neighbours[0], second, third}};
    vTri.push_back({{a, mid, c}, {tri, old.neighbours[1], third}});
    vTri.push_back({{a, b, mid}, {tri, second, old.neighbours[2]}});
    replaceNeighbour(old.neighbours[1], tri, second);
    replaceNeighbour(old.neighbours[2], tri, third);
    vToTest.insert(vToTest.end(), {{tri, 0}, {second, 1}, {third, 2}});
}

// Moves the inner points to the means of their neighbours, all at once, and flips again.
void PlaneNet::evenOut()
{
    std::vector<PlanePoint> vMoved(vPoints.size(), PlanePoint{0.0, 0.0});
    std::vector<std::uint32_t> vNum(vPoints.size(), 0);
    for (const Tri& tri : vTri)
        for (std::size_t k = 0; k < 3; ++k) { // round an inner point each neighbour follows it once
            const std::size_t from = tri.corners[k], to = tri.corners[(k + 1) % 3];
            vMoved[from].x += vPoints[to].x;
            vMoved[from].y += vPoints[to].y;
            ++vNum[from];
        }
    for (std::size_t i = 0; i < vPoints.size(); ++i)
        if (i < numCorners)
            vMoved[i] = vPoints[i];
        else
            vMoved[i] = {vMoved[i].x / vNum[i], vMoved[i].y / vNum[i]};
    keepPositive(vMoved);
    vPoints = vMoved;
    for (std::size_t i = 0; i < vTri.size(); ++i)
        pushSides(i);
    flipAll();
}

// Takes back the moves at each triangle that would turn over, until there is none: at the latest when all are
// back.
void PlaneNet::keepPositive(std::vector<PlanePoint>& vMoved) const
{
    for (bool bBack = true; bBack;) {
        bBack = false;
        for (const Tri& tri : vTri) {
            const auto [a, b, c] = tri.corners;
            if (orientOf(vMoved[a], vMoved[b], vMoved[c]) > 0.0)
                continue;
            for (const std::size_t i : tri.corners) {
                bBack |= vMoved[i].x != vPoints[i].x || vMoved[i].y != vPoints[i].y;
                vMoved[i] = vPoints[i];
            }
        }
    }
}

void PlaneNet::splitChords(const std::function<bool(std::size_t, std::size_t)>& isTaken)
{
    for (std::size_t tri = 0; tri < vTri.size(); ++tri) // also those that come in the loop
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t b = vTri[tri].corners[(k + 1) % 3], c = vTri[tri].corners[(k + 2) % 3];
            if (vTri[tri].neighbours[k] != NONE && b < numCorners && c < numCorners && isTaken(b, c))
                splitSide(tri, k);
        }
}

// Each of the two triangles becomes two.
void PlaneNet::splitSide(std::size_t tri, std::size_t slot)
{
    const std::size_t other = vTri[tri].neighbours[slot], otherSlot = slotOf(other, tri);
    const std::size_t a = vTri[tri].corners[slot], b = vTri[tri].corners[(slot + 1) % 3],
                      c = vTri[tri].corners[(slot + 2) % 3], d = vTri[other].corners[otherSlot];
    const std::size_t beyondAB = vTri[tri].neighbours[(slot + 2) % 3],
                      beyondCA = vTri[tri].neighbours[(slot + 1) % 3];
    const std::size_t beyondBD = vTri[other].neighbours[(otherSlot + 1) % 3],
                      beyondDC = vTri[other].neighbours[(otherSlot + 2) % 3];
    const std::size_t mid = vPoints.size(), third = vTri.size(), fourth = third + 1;
    vPoints.push_back({(vPoints[b].x + vPoints[c].x) / 2.0, (vPoints[b].y + vPoints[c].y) / 2.0});
    vTri[tri] = {{a, b, mid}, {other, third, beyondAB}};
    vTri[other] = {{d, mid, b}, {tri, beyondBD, fourth}};
    vTri.push_back({{a, mid, c}, {fourth, beyondCA, tri}});
    vTri.push_back({{d, c, mid}, {third, other, beyondDC}});
    replaceNeighbour(beyondCA, tri, third);
    replaceNeighbour(beyondDC, other, fourth);
}

} // namespace TESK_ZAN
