// Subsystem: files. Builds on: Point3. Used by: pointFiles, plyPoints.
// How readers append: all or nothing.
#pragma once

#include "Point3.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// Stands for what a reader appends to vPoints from here on. It goes again at the end of the scope, also while
// an exception unwinds, unless keep() was called.
class AppendedPoints
{
public:
    explicit AppendedPoints(std::vector<Point3>& vTarget) : vPoints(vTarget), numBefore(vTarget.size()) {}
    ~AppendedPoints()
    {
        if (!bKept)
            vPoints.erase(vPoints.begin() + std::ptrdiff_t(numBefore), vPoints.end());
    }
    AppendedPoints(const AppendedPoints&) = delete;
    AppendedPoints& operator=(const AppendedPoints&) = delete;

    std::size_t size() const { return vPoints.size() - numBefore; }
    void keep() { bKept = true; }

    // Makes room for numMore points in all. Doubles the room at least, so that reading many small files into
    // one vector stays linear.
    void reserve(std::uint64_t numMore)
    {
        const std::uint64_t numAll = numBefore + numMore;
        if (numAll > vPoints.capacity())
            vPoints.reserve(std::size_t(std::max<std::uint64_t>(numAll, 2 * vPoints.capacity())));
    }

private:
    std::vector<Point3>& vPoints;
    const std::size_t numBefore;
    bool bKept = false;
};

} // namespace TESK_ZAN
