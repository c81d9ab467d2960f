// Subsystem: grid. Builds on: definitions, zanAssert, Point3. Used by: everything that names cells by codes.
// The integer lattice of a run: conversions between points and codes, one-axis arithmetic on codes, and the
// enumeration orders of neighbours on which the tables of other files depend. Bodies that are not on a hot
// path stand in Calc.cpp, the arrays of neighbours and the comparisons that are in Calc_neighbours.cpp.
//
// Code kinds (all u64; definitions.h has the masks): RCD packed cell, CCD interleaved cell, RCC packed
// lattice corner. A cube is the group of the 8 cells round one lattice corner; its key is the CCD of its
// highest cell. Offsets below are (dx, dy, dz).
#pragma once

#include "Point3.h"
#include "definitions.h"

#include <vector>

namespace TESK_ZAN
{

// Packing of an RCD or RCC: x<<42 | y<<21 | z. Coordinates must be below 2^21.
inline u64 xyzToRCD(u64 x, u64 y, u64 z)
{
    return x << 42 | y << 21 | z;
}

// Unpacking of an RCD or RCC.
inline void rcdToXYZ(u64 rcd, u64& x, u64& y, u64& z)
{
    x = (rcd & RCD_X) >> 42;
    y = (rcd & RCD_Y) >> 21;
    z = rcd & RCD_Z;
}

inline void rcdToXYZ(u64 rcd, int& x, int& y, int& z)
{
    x = static_cast<int>((rcd & RCD_X) >> 42);
    y = static_cast<int>((rcd & RCD_Y) >> 21);
    z = static_cast<int>(rcd & RCD_Z);
}

// The coordinates of a cell or lattice corner as a point: in cells, not in units of the input.
inline Point3 latticePoint(u64 rcd)
{
    u64 x, y, z;
    rcdToXYZ(rcd, x, y, z);
    return Point3(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z));
}

// The low 21 bits of v spread to every third bit, bit i to bit 3i. The inverse is compactBits3.
inline u64 spreadBits3(u64 v)
{
    v &= MAX_COORD;
    v = (v | v << 32) & 0x001f00000000ffff;
    v = (v | v << 16) & 0x001f0000ff0000ff;
    v = (v | v << 8) & 0x100f00f00f00f00f;
    v = (v | v << 4) & 0x10c30c30c30c30c3;
    return (v | v << 2) & 0x1249249249249249;
}

// Bits 0, 3, 6, ... 60 of v collected into bits 0 to 20; the other bits of v are ignored.
inline u64 compactBits3(u64 v)
{
    v &= 0x1249249249249249;
    v = (v | v >> 2) & 0x10c30c30c30c30c3;
    v = (v | v >> 4) & 0x100f00f00f00f00f;
    v = (v | v >> 8) & 0x001f0000ff0000ff;
    v = (v | v >> 16) & 0x001f00000000ffff;
    return (v | v >> 32) & MAX_COORD;
}

// Truncates a cell coordinate. Defined for every double: negative values and NaN give 0, values beyond the
// largest coordinate give MAX_COORD, so a stray point gives a wrong code but never undefined behaviour.
inline u64 truncateToCoord(double v)
{
    v = v > 0.0 ? v : 0.0;
    v = v < static_cast<double>(MAX_COORD) ? v : static_cast<double>(MAX_COORD);
    return static_cast<u64>(static_cast<std::int64_t>(v));
}

// How two cells differ: on one, two or three axes.
enum NeigTyp { NT_FACE, NT_EDGE, NT_CORNER };

// Immutable during a run, safe to read from all threads, plainly copyable. Cell (x, y, z) covers the
// half-open box [origin + x·cellSize, origin + (x+1)·cellSize) on each axis, 0 <= x, y, z < 2^numLevels.
//
// Two families of centres exist: getCellMid sums level by level, getCellMid_RCD is the closed form. They may
// differ in the last digits; do not compare one with the other for equality.
class Calc
{
public:
    // Origin, box edges (not the far corner), levels. Condition "numLevels<=MAXLEVELS".
    Calc(double ox, double oy, double oz, double sx, double sy, double sz, int numLevels);

    // --- points and codes: Calc.cpp ---

    // The cell that holds the point. No range test: a point outside the box gives a code without meaning
    // (see truncateToCoord).
    u64 getRCD(const Point3* p) const { return xyzToRCD(coordX(p->x()), coordY(p->y()), coordZ(p->z())); }
    u64 getCCD(const Point3* p) const { return xyzToCCD(coordX(p->x()), coordY(p->y()), coordZ(p->z())); }

    // Coordinates of a CCD; bits beyond numLevels are ignored.
    void ccdToXYZ(u64 ccd, u64& x, u64& y, u64& z) const
    {
        ccd &= levelMask;
        x = compactBits3(ccd >> 2);
        y = compactBits3(ccd >> 1);
        z = compactBits3(ccd);
    }

    // Change of form, same cell; exact inverses of each other for all coordinates below 2^21.
    static u64 ccdToRCD(u64 ccd)
    {
        return xyzToRCD(compactBits3(ccd >> 2), compactBits3(ccd >> 1), compactBits3(ccd));
    }
    static u64 rcdToCCD(u64 rcd) { return xyzToCCD(rcd >> 42, rcd >> 21, rcd); }

    // Low corner and centre of a cell, summed level by level from the origin upwards.
    Point3 getCellCorner(u64 ccd) const;
    Point3 getCellMid(u64 ccd) const;

    // Centre of a cell: origin + (c + 0.5)·cellSize on each axis.
    Point3 getCellMid_RCD(u64 rcd) const
    {
        u64 x, y, z;
        rcdToXYZ(rcd, x, y, z);
        return Point3(origin[0] + (static_cast<double>(x) + 0.5) * cellSize[0],
                      origin[1] + (static_cast<double>(y) + 0.5) * cellSize[1],
                      origin[2] + (static_cast<double>(z) + 0.5) * cellSize[2]);
    }

    int getNumLevels() const { return numLevels; }
    double getCellSize() const { return cellSize[0]; }
    void getCellSizes(double& x, double& y, double& z) const;

    // Moves p into the cell if it lies outside; true if it was moved.
    // The CCD form takes the shortest of the steps 2^-10 ... 1 of the way to the centre that enters the cell
    // and leaves the point without colour. The RCD form clamps each coordinate to the inner 0.001 ... 0.999
    // of the cell and keeps the colour. A point exactly on a low face is inside. A failed condition if no
    // such point exists (cells finer than the coordinates' resolution, a point that is not finite).
    bool adaptPointToCCD(u64 ccd, Point3& p) const;
    bool adaptPointToRCD(u64 rcd, Point3& p) const;

    // --- one axis of a CCD: Calc.cpp ---
    // An axis tribit is AXIS_X, AXIS_Y or AXIS_Z. A sparse value is a CCD masked to the bits of one axis.

    // The sparse value of coordinate + 1 and - 1. Condition "false" at the end of the range.
    u64 incSparse(u64 sparse, u64 axTribit) const
    {
        const u64 axisMask = levelMask & (CCD_Z * axTribit);
        if ((sparse & axisMask) == axisMask) [[unlikely]]
            failEndOfRange();
        // Bits of the other axes are set, so that the carry runs through them.
        return (sparse & ~axisMask) | (((sparse | ~axisMask) + 1) & axisMask);
    }
    u64 decSparse(u64 sparse, u64 axTribit) const
    {
        const u64 axisMask = levelMask & (CCD_Z * axTribit);
        if ((sparse & axisMask) == 0) [[unlikely]]
            failEndOfRange();
        return (sparse & ~axisMask) | (((sparse & axisMask) - 1) & axisMask);
    }

    // A plain coordinate spread onto one axis, and back. Condition "axTriBit<8".
    u64 numberToSparse(u64 number, u64 axTriBit) const;
    u64 sparseToNumber(u64 sparse, u64 axTriBit) const;

    // Steps one axis of a whole CCD in place. False at the end of the range, with a message and a warning;
    // the code is all ones then.
    bool manipOneAxis(u64& ccd, bool bIncrease, u64 axTribit) const;

    // The CCD with value added to one axis's coordinate. Below 0: an error message, FAILED_CODE comes back.
    // At 2^numLevels or above: an error message, then a failed condition.
    u64 getOffVal(u64 ccd, int value, u64 axTribit) const;

    // The two other axes: 1 gives (4, 2), 2 gives (4, 1), 4 gives (2, 1); anything else is condition "false".
    static void getOrthoTribs(u64 axTribit, u64& a, u64& b);

    // --- arrays of neighbours: Calc_neighbours.cpp ---
    // RCD forms add field steps without a range check: at the ends of the lattice the fields carry into each
    // other. CCD forms stop with the failure of incSparse and decSparse there.

    // Index (dz+1)*9 + (dy+1)*3 + (dx+1): x runs fastest, entry 13 is the cell itself (and is written even
    // when the cell lies at the end of the lattice and the call fails).
    void completeArray27(u64 baseCCD, u64 array[27]) const;
    static void completeArray27_RCD(u64 rcd, u64 array[27]);

    // The 26 neighbours with z fastest, x slowest and no entry for the centre: another order than above.
    // Condition "x>0 && y>0 && z>0".
    static void completeArray26_RCD(u64 rcd, u64 array[26]);

    // array[5] is a cube's key on entry. The member cells, in the order of the bits of a cube configuration:
    // (-1,-1,0) (0,-1,0) (0,-1,-1) (-1,-1,-1) (-1,0,0) (0,0,0) (0,0,-1) (-1,0,-1).
    void completeCubeMembers8(u64 array[8]) const
    {
        const u64 key = array[5];
        const u64 x = key & CCD_X, y = key & CCD_Y, z = key & CCD_Z;
        const u64 x0 = decSparse(x, AXIS_X), y0 = decSparse(y, AXIS_Y), z0 = decSparse(z, AXIS_Z);
        array[0] = x0 | y0 | z;
        array[1] = x | y0 | z;
        array[2] = x | y0 | z0;
        array[3] = x0 | y0 | z0;
        array[4] = x0 | y | z;
        array[6] = x | y | z0;
        array[7] = x0 | y | z0;
    }

    // array[0] is a cell on entry. The keys of the 8 cubes that the cell belongs to:
    // (0,0,0) (1,0,0) (1,0,1) (0,0,1) (0,1,0) (1,1,0) (1,1,1) (0,1,1).
    void completeCubeKeys8(u64 array[8]) const
    {
        const u64 ccd = array[0];
        const u64 x = ccd & CCD_X, y = ccd & CCD_Y, z = ccd & CCD_Z;
        const u64 x1 = incSparse(x, AXIS_X), y1 = incSparse(y, AXIS_Y), z1 = incSparse(z, AXIS_Z);
        array[1] = x1 | y | z;
        array[2] = x1 | y | z1;
        array[3] = x | y | z1;
        array[4] = x | y1 | z;
        array[5] = x1 | y1 | z;
        array[6] = x1 | y1 | z1;
        array[7] = x | y1 | z1;
    }

    // array[0] is an RCD on entry. The RCCs of its corners: z fastest, then y, then x.
    static void completeCellCorners8(u64 array[8])
    {
        const u64 rcd = array[0];
        for (u64 i = 1; i < 8; ++i)
            array[i] = rcd + (i >> 2) * RCD_STEP_X + (i >> 1 & 1) * RCD_STEP_Y + (i & 1) * RCD_STEP_Z;
    }

    // The ring of 8 cells in the plane where axis planeIndex (0 x, 1 y, 2 z) is fixed. In the two other axes
    // (a, b), a before b: (-1,-1) (0,-1) (1,-1) (1,0) (1,1) (0,1) (-1,1) (-1,0); with z fixed the same ring
    // is walked the other way, with the roles of a and b exchanged. Another index: a message, condition
    // "false".
    void getPlaneCCD8(u64 ccd, int planeIndex, u64 array[8]) const;

    // (-1,0,0) (1,0,0) (0,-1,0) (0,1,0) (0,0,-1) (0,0,1).
    static void getNeigs6_RCD(u64 rcd, u64 array[6])
    {
        array[0] = rcd - RCD_STEP_X;
        array[1] = rcd + RCD_STEP_X;
        array[2] = rcd - RCD_STEP_Y;
        array[3] = rcd + RCD_STEP_Y;
        array[4] = rcd - RCD_STEP_Z;
        array[5] = rcd + RCD_STEP_Z;
    }

    // Appends the RCDs of the four cells round the lattice edge between two adjacent corners: first the cell
    // of the smaller corner, then the one a step down the first other axis (x before y before z), the one a
    // step down the second, and the one down both. Corners that are not adjacent: a failed condition.
    static void getCbsAroundEdge(u64 rcc0, u64 rcc1, std::vector<u64>& vRCD);

    // --- comparison of codes ---
    // These see only whether two codes differ on an axis, never by how much.

    // NT_FACE, NT_EDGE, NT_CORNER for 1, 2, 3 differing axes. Condition "result_xor" for equal codes.
    static NeigTyp getNeigType(u64 ccd0, u64 ccd1);

    // Number of axes on which two cells differ; of three or four cells: on which any two of them differ.
    static int getNumDiffAxes_RCD(u64 a, u64 b) { return numFieldsSet_RCD(a ^ b); }
    static int getNumDiffAxes(u64 a, u64 b) { return numAxesSet(a ^ b); }
    static int getNumDiffAxes(u64 a, u64 b, u64 c) { return numAxesSet((a ^ b) | (a ^ c)); }
    static int getNumDiffAxes(u64 a, u64 b, u64 c, u64 d) { return numAxesSet((a ^ b) | (a ^ c) | (a ^ d)); }

    // The one axis (0 x, 1 y, 2 z) on which two cells differ; -1 if they differ on none or on several.
    static int getUniqueDifferentComponent(u64 a, u64 b);
    static int getUniqueDifferentComponent_RCD(u64 a, u64 b);

    // The one axis on which all the cells agree; -1 if they agree on none or on several.
    static int getUniqueSameComponent(u64 a, u64 b);
    static int getUniqueSameComponent(u64 a, u64 b, u64 c);

    // Number of set bits of a byte. Condition "val<256".
    static int getNumSet8(unsigned int val);

private:
    u64 coordX(double x) const { return truncateToCoord((x - origin[0]) * invCellSize[0]); }
    u64 coordY(double y) const { return truncateToCoord((y - origin[1]) * invCellSize[1]); }
    u64 coordZ(double z) const { return truncateToCoord((z - origin[2]) * invCellSize[2]); }

    // Bits above the low 21 of each argument are ignored.
    static u64 xyzToCCD(u64 x, u64 y, u64 z)
    {
        return spreadBits3(x) << 2 | spreadBits3(y) << 1 | spreadBits3(z);
    }

    static int numAxesSet(u64 diff)
    {
        return int{(diff & CCD_X) != 0} + int{(diff & CCD_Y) != 0} + int{(diff & CCD_Z) != 0};
    }
    static int numFieldsSet_RCD(u64 diff)
    {
        return int{(diff & RCD_X) != 0} + int{(diff & RCD_Y) != 0} + int{(diff & RCD_Z) != 0};
    }

    [[noreturn]] static void failEndOfRange();

    double origin[3];
    double size[3];
    int numLevels;
    u64 numCells;          // 2^numLevels, per axis
    double cellSize[3];    // size / numCells
    double invCellSize[3]; // numCells / size
    u64 levelMask;         // the 3*numLevels low bits: the bits of a valid CCD
};

} // namespace TESK_ZAN
