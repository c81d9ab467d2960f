#include "Calc.h"

#include "messages.h"
#include "zanAssert.h"

#include <cstdlib>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

// Adds the cell size, doubled from level to level, for every set bit of the coordinate, lowest level first.
// The order of the additions decides the last digits.
double sumLevels(double start, double cellSize, u64 coord)
{
    double sum = start;
    for (; coord != 0; coord &= coord - 1)
        sum += cellSize * static_cast<double>(coord & (~coord + 1)); // the lowest set bit: a power of two
    return sum;
}

// Keeps c inside [base + 0.001, base + 0.999] cells of the axis.
double clampToInner(double c, double origin, double cellSize, u64 coord)
{
    constexpr double INNER_LOW = 0.001;
    constexpr double INNER_HIGH = 0.999;
    const double low = origin + (static_cast<double>(coord) + INNER_LOW) * cellSize;
    const double high = origin + (static_cast<double>(coord) + INNER_HIGH) * cellSize;
    if (c <= low)
        return low;
    return c >= high ? high : c;
}

} // namespace

Calc::Calc(double ox, double oy, double oz, double sx, double sy, double sz, int numLevels_)
    : origin{ox, oy, oz}, size{sx, sy, sz}, numLevels(numLevels_)
{
    zanAssertText(numLevels <= MAXLEVELS, "numLevels<=MAXLEVELS");
    zanAssertText(numLevels >= 0, "numLevels>=0");
    numCells = u64{1} << numLevels;
    levelMask = (u64{1} << 3 * numLevels) - 1;
    for (int axis = 0; axis < 3; ++axis) {
        cellSize[axis] = size[axis] / static_cast<double>(numCells);
        invCellSize[axis] = static_cast<double>(numCells) / size[axis];
    }
}

void Calc::failEndOfRange()
{
    zanFail();
}

void Calc::getCellSizes(double& x, double& y, double& z) const
{
    x = cellSize[0];
    y = cellSize[1];
    z = cellSize[2];
}

Point3 Calc::getCellCorner(u64 ccd) const
{
    u64 x, y, z;
    ccdToXYZ(ccd, x, y, z);
    return Point3(sumLevels(origin[0], cellSize[0], x), sumLevels(origin[1], cellSize[1], y),
                  sumLevels(origin[2], cellSize[2], z));
}

Point3 Calc::getCellMid(u64 ccd) const
{
    const Point3 corner = getCellCorner(ccd);
    return Point3(corner.x() + 0.5 * cellSize[0], corner.y() + 0.5 * cellSize[1],
                  corner.z() + 0.5 * cellSize[2]);
}

bool Calc::adaptPointToCCD(u64 ccd, Point3& p) const
{
    if (getCCD(&p) == ccd)
        return false;
    constexpr double SMALLEST_STEP = 1.0 / 1024;
    const Vector3 toMid = getCellMid(ccd) - p;
    for (double t = SMALLEST_STEP; t <= 1.0; t *= 2.0) {
        const Point3 moved = p + toMid * t;
        if (getCCD(&moved) == ccd) {
            p = moved;
            return true;
        }
    }
    zanFail(); // not even the centre lies in the cell
}

bool Calc::adaptPointToRCD(u64 rcd, Point3& p) const
{
    if (getRCD(&p) == rcd)
        return false;
    u64 x, y, z;
    rcdToXYZ(rcd, x, y, z);
    const Point3 testPoint(clampToInner(p.x(), origin[0], cellSize[0], x),
                           clampToInner(p.y(), origin[1], cellSize[1], y),
                           clampToInner(p.z(), origin[2], cellSize[2], z));
    zanAssertText(getRCD(&testPoint) == rcd, "getRCD(&testPoint)==rcd");
    p.set(testPoint);
    return true;
}

u64 Calc::numberToSparse(u64 number, u64 axTriBit) const
{
    zanAssertText(axTriBit < 8, "axTriBit<8");
    return (spreadBits3(number) * axTriBit) & levelMask;
}

u64 Calc::sparseToNumber(u64 sparse, u64 axTriBit) const
{
    zanAssertText(axTriBit < 8, "axTriBit<8");
    const u64 bits = sparse & levelMask;
    u64 number = 0;
    for (u64 shift = 0; shift < 3; ++shift)
        if (axTriBit >> shift & 1)
            number |= compactBits3(bits >> shift);
    return number;
}

bool Calc::manipOneAxis(u64& ccd, bool bIncrease, u64 axTribit) const
{
    const u64 axisMask = levelMask & (CCD_Z * axTribit);
    const bool bAtEnd = (ccd & axisMask) == (bIncrease ? axisMask : 0);
    if (bAtEnd) {
        messageStream() << "ERROR, out of range, bIncrease=" << bIncrease << ", axTribit=" << axTribit << '\n'
                        << "this is " << static_cast<const void*>(this) << ", numLevels=" << numLevels
                        << '\n';
        ZAN_WARNING("End not found");
        ccd = FAILED_CODE;
        return false;
    }
    ccd = bIncrease ? incSparse(ccd, axTribit) : decSparse(ccd, axTribit);
    return true;
}

u64 Calc::getOffVal(u64 ccd, int value, u64 axTribit) const
{
    const u64 axisMask = levelMask & (CCD_Z * axTribit);
    const auto component = static_cast<std::int64_t>(sparseToNumber(ccd & axisMask, axTribit));
    const std::int64_t newComponent = component + value;
    const auto maxVal = static_cast<std::int64_t>(numCells);
    if (newComponent < 0) {
        ZAN_ERROR("out of range");
        messageStream() << "value=" << value << '\n' << "component=" << component << '\n';
        return FAILED_CODE;
    }
    if (newComponent >= maxVal) {
        ZAN_ERROR("out of range");
        messageStream() << "value=" << value << '\n'
                        << "new component=" << newComponent << '\n'
                        << "maxVal=" << maxVal << '\n';
        zanFail();
    }
    return (ccd & ~axisMask) | numberToSparse(static_cast<u64>(newComponent), axTribit);
}

void Calc::getOrthoTribs(u64 axTribit, u64& a, u64& b)
{
    zanAssertText(axTribit == AXIS_X || axTribit == AXIS_Y || axTribit == AXIS_Z, "false");
    a = axTribit == AXIS_X ? AXIS_Y : AXIS_X;
    b = axTribit == AXIS_Z ? AXIS_Y : AXIS_Z;
}

} // namespace TESK_ZAN
