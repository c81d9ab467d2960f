#include "Calc.h"

#include "messages.h"
#include "zanAssert.h"

#include <algorithm>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

// 0 x, 1 y, 2 z for a set of axes that holds exactly one of them, else -1.
int onlyAxis(bool bX, bool bY, bool bZ)
{
    if (int{bX} + int{bY} + int{bZ} != 1)
        return -1;
    return bX ? 0 : bY ? 1 : 2;
}

} // namespace

void Calc::completeArray27(u64 baseCCD, u64 array[27]) const
{
    array[13] = baseCCD;
    const u64 x = baseCCD & CCD_X, y = baseCCD & CCD_Y, z = baseCCD & CCD_Z;
    const u64 xs[3] = {decSparse(x, AXIS_X), x, incSparse(x, AXIS_X)};
    const u64 ys[3] = {decSparse(y, AXIS_Y), y, incSparse(y, AXIS_Y)};
    const u64 zs[3] = {decSparse(z, AXIS_Z), z, incSparse(z, AXIS_Z)};
    u64* pNext = array;
    for (const u64 sz : zs)
        for (const u64 sy : ys)
            for (const u64 sx : xs)
                *pNext++ = sx | sy | sz;
}

void Calc::completeArray27_RCD(u64 rcd, u64 array[27])
{
    u64* pNext = array;
    u64 layer = rcd - RCD_STEP_X - RCD_STEP_Y - RCD_STEP_Z;
    for (int dz = 0; dz < 3; ++dz, layer += RCD_STEP_Z)
        for (u64 dy = 0; dy < 3; ++dy)
            for (u64 dx = 0; dx < 3; ++dx)
                *pNext++ = layer + dy * RCD_STEP_Y + dx * RCD_STEP_X;
}

void Calc::completeArray26_RCD(u64 rcd, u64 array[26])
{
    u64 x, y, z;
    rcdToXYZ(rcd, x, y, z);
    zanAssertText(x > 0 && y > 0 && z > 0, "x>0 && y>0 && z>0");
    u64* pNext = array;
    u64 slice = rcd - RCD_STEP_X - RCD_STEP_Y - RCD_STEP_Z;
    for (int dx = 0; dx < 3; ++dx, slice += RCD_STEP_X)
        for (u64 dy = 0; dy < 3; ++dy)
            for (u64 dz = 0; dz < 3; ++dz) {
                const u64 neig = slice + dy * RCD_STEP_Y + dz * RCD_STEP_Z;
                if (neig != rcd)
                    *pNext++ = neig;
            }
}

void Calc::getPlaneCCD8(u64 ccd, int planeIndex, u64 array[8]) const
{
    if (planeIndex < 0 || planeIndex > 2) {
        messageStream() << "Bug, planeIndex=" << planeIndex << '\n';
        zanFail();
    }
    // The ring is the same in all planes once the two axes that vary stand in the order (first, second).
    static constexpr u64 FIRST[3] = {AXIS_Y, AXIS_X, AXIS_Y};
    static constexpr u64 SECOND[3] = {AXIS_Z, AXIS_Z, AXIS_X};
    static constexpr u64 FIXED[3] = {CCD_X, CCD_Y, CCD_Z};
    const u64 axisA = FIRST[planeIndex], axisB = SECOND[planeIndex];
    const u64 fixed = ccd & FIXED[planeIndex];
    const u64 a = ccd & (CCD_Z * axisA), b = ccd & (CCD_Z * axisB);
    const u64 aLow = decSparse(a, axisA), aHigh = incSparse(a, axisA);
    const u64 bLow = decSparse(b, axisB), bHigh = incSparse(b, axisB);
    const u64 ring[8] = {aLow | bLow,   a | bLow,  aHigh | bLow, aHigh | b,
                         aHigh | bHigh, a | bHigh, aLow | bHigh, aLow | b};
    for (int i = 0; i < 8; ++i)
        array[i] = fixed | ring[i];
}

void Calc::getCbsAroundEdge(u64 rcc0, u64 rcc1, std::vector<u64>& vRCD)
{
    const u64 low = std::min(rcc0, rcc1);
    u64 x0, y0, z0, x1, y1, z1;
    rcdToXYZ(low, x0, y0, z0);
    rcdToXYZ(std::max(rcc0, rcc1), x1, y1, z1);
    const u64 xdiff = x1 - x0, ydiff = y1 - y0, zdiff = z1 - z0; // a step down wraps to a huge value
    zanAssertText(xdiff == 0 || xdiff == 1, "xdiff==0 || xdiff==1");
    zanAssertText(ydiff == 0 || ydiff == 1, "ydiff==0 || ydiff==1");
    zanAssertText(zdiff == 0 || zdiff == 1, "zdiff==0 || zdiff==1");
    zanAssertText(xdiff + ydiff + zdiff == 1, "xdiff+ydiff+zdiff==1");
    const u64 first = xdiff == 1 ? RCD_STEP_Y : RCD_STEP_X;
    const u64 second = zdiff == 1 ? RCD_STEP_Y : RCD_STEP_Z;
    for (const u64 down : {u64{0}, first, second, first + second})
        vRCD.push_back(low - down);
}

NeigTyp Calc::getNeigType(u64 ccd0, u64 ccd1)
{
    const u64 result_xor = ccd0 ^ ccd1;
    zanAssertText(result_xor != 0, "result_xor");
    static constexpr NeigTyp BY_NUM_AXES[4] = {NT_FACE, NT_FACE, NT_EDGE, NT_CORNER};
    return BY_NUM_AXES[numAxesSet(result_xor)];
}

int Calc::getUniqueDifferentComponent(u64 a, u64 b)
{
    const u64 diff = a ^ b;
    return onlyAxis((diff & CCD_X) != 0, (diff & CCD_Y) != 0, (diff & CCD_Z) != 0);
}

int Calc::getUniqueDifferentComponent_RCD(u64 a, u64 b)
{
    const u64 diff = a ^ b;
    return onlyAxis((diff & RCD_X) != 0, (diff & RCD_Y) != 0, (diff & RCD_Z) != 0);
}

int Calc::getUniqueSameComponent(u64 a, u64 b)
{
    const u64 diff = a ^ b;
    return onlyAxis((diff & CCD_X) == 0, (diff & CCD_Y) == 0, (diff & CCD_Z) == 0);
}

int Calc::getUniqueSameComponent(u64 a, u64 b, u64 c)
{
    return getUniqueSameComponent(0, (a ^ b) | (a ^ c));
}

int Calc::getNumSet8(unsigned int val)
{
    static constexpr int NUM_SET_IN_NIBBLE[16] = {0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4};
    zanAssertText(val < 256, "val<256");
    return NUM_SET_IN_NIBBLE[val & 15] + NUM_SET_IN_NIBBLE[val >> 4];
}

} // namespace TESK_ZAN
