// Subsystem: intake. Builds on: Point3, freeFunctions, sortMT. Used by: Pixel.
// Links the loose feature edges of a soup into chains of straight continuation. Cells go to the first edge
// that reaches them, so the order of the edges decides who owns a cell where features run close together.
#pragma once

#include "Point3.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

class FeatureChain;

// The angle of a feature edge in degrees, or BORDER_ANGLE, and its two ends. Ends are equal when their
// pointers are.
using FeatureRecord = std::pair<double, std::pair<Point3*, Point3*>>;

constexpr double BORDER_ANGLE = 9999.0;

struct FeatureEdge {
    Point3* pSrc; // the two ends, along the chain once there is one; not owned
    Point3* pTrg;
    double val; // the angle of the record
    FeatureChain* pChain = nullptr;
    FeatureEdge* pPrev = nullptr; // neighbours in the chain
    FeatureEdge* pNext = nullptr;

    bool isBorder() const { return val > 360.0; }
};

// Each edge under each of its two ends: sorted by point, in record order under one point.
using PointFeatureEdges = std::vector<std::pair<Point3*, FeatureEdge*>>;

// A doubly linked list of edges, each of which starts where the one before ends. All of them are borders, or
// none. An edge joins where it turns by no more than 60 degrees.
class FeatureChain
{
public:
    // From a free edge, as far as it goes: first forward, then backward.
    FeatureChain(FeatureEdge* pSeed, const PointFeatureEdges& mmPoint2Edge);

    const FeatureEdge* getFirst() const { return pFirst; }
    double getVal() const { return val; } // the mean over the edges

private:
    // Each adds one edge at its end; true if the chain grew and may grow further there.
    bool growBack(const PointFeatureEdges& mmPoint2Edge);
    bool growFront(const PointFeatureEdges& mmPoint2Edge);

    FeatureEdge* pFirst;
    FeatureEdge* pLast;
    double val = 0.0;
};

// Lives for one call. The points belong to the caller.
class FeatureMgr
{
public:
    // Seeds in the order of the records. O(n log n).
    explicit FeatureMgr(const std::vector<FeatureRecord>& vFeatureRecords);
    FeatureMgr(const FeatureMgr&) = delete;
    FeatureMgr& operator=(const FeatureMgr&) = delete;

    // Appends every record once, its ends in the order of the chain, chain by chain: the flattest first (the
    // one with the earlier seed on ties), borders last.
    void getOrderedPairs(std::vector<FeatureRecord>& vOut) const;

    size_t getNumChains() const { return vChains.size(); }

private:
    std::vector<FeatureEdge> vFeatureEdges; // one a record, does not grow: there are pointers into it
    std::vector<FeatureChain> vChains;      // likewise
};

} // namespace TESK_ZAN
