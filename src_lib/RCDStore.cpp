#include "RCDStore.h"

#include "zanAssert.h"

#include <algorithm>
#include <new>

namespace TESK_ZAN
{

namespace
{

// Coordinates of matrices on an axis: 2^21 cells in cubes of 64.
constexpr int NUM_MATRICES_PER_AXIS = 1 << 15;

bool isInLattice(int matrixCoord)
{
    return matrixCoord >= 0 && matrixCoord < NUM_MATRICES_PER_AXIS;
}

// The upper part of the matrix at an offset; false beyond the ends of the lattice, where adding the steps
// would carry into another axis and name a matrix far away.
bool offsetUpper(u64 upper, int dx, int dy, int dz, u64& neigUpper)
{
    const int mx = static_cast<int>((upper & RCD_X) >> 48) + dx;
    const int my = static_cast<int>((upper & RCD_Y) >> 27) + dy;
    const int mz = static_cast<int>((upper & RCD_Z) >> 6) + dz;
    if (!isInLattice(mx) || !isInLattice(my) || !isInLattice(mz))
        return false;
    neigUpper = static_cast<u64>(mx) << 48 | static_cast<u64>(my) << 27 | static_cast<u64>(mz) << 6;
    return true;
}

} // namespace

RCDStore::RCDStore(const Calc* pCalc_, const std::vector<u64>& vRCD) : pCalc(pCalc_)
{
    // A sheet fills about 64x64 cells of each cube that it passes. The count is capped because cells that
    // repeat must not size the pool.
    constexpr size_t MAX_FIRST_SIZE = 1 << 14;
    const size_t firstSize = std::clamp<size_t>(vRCD.size() / 4096, 2, MAX_FIRST_SIZE);
    matrixPool.init(static_cast<int>(firstSize), -1);
    constructStore(vRCD);
}

RCDStore::~RCDStore()
{
    for (RCDMatrix* pMatrix : vMatrices)
        if (pMatrix != nullptr)
            pMatrix->~RCDMatrix();
}

void RCDStore::constructStore(const std::vector<u64>& vRCD)
{
    RCDMatrix* pMatrix = nullptr;
    for (const u64 rcd : vRCD) {
        pMatrix = findRCDMatrix(rcd, pMatrix);
        if (pMatrix == nullptr)
            pMatrix = createMatrix(RCDMatrix::upperOf(rcd));
        pMatrix->set(RCDMatrix::addressOf(rcd));
    }
}

RCDMatrix* RCDStore::findRCDMatrix(u64 rcd) const
{
    RCDMatrix* const* ppMatrix = mRCD2RCDMatrix.find(RCDMatrix::upperOf(rcd));
    return ppMatrix != nullptr ? *ppMatrix : nullptr;
}

RCDMatrix* RCDStore::getRCDMatrix(u64 rcd) const
{
    RCDMatrix* pMatrix = findRCDMatrix(rcd);
    zanAssertText(pMatrix != nullptr, "q_it!=mRCD2RCDMatrix.end()");
    return pMatrix;
}

void RCDStore::add(u64 rcd)
{
    RCDMatrix* pMatrix = findRCDMatrix(rcd);
    if (pMatrix == nullptr)
        pMatrix = createMatrix(RCDMatrix::upperOf(rcd));
    pMatrix->set(RCDMatrix::addressOf(rcd));
}

void RCDStore::unset(u64 rcd)
{
    if (RCDMatrix* pMatrix = findRCDMatrix(rcd))
        pMatrix->unset(RCDMatrix::addressOf(rcd));
}

RCDMatrix* RCDStore::createMatrix(u64 upper)
{
    vMatrices.push_back(nullptr); // room first: a matrix that could not be registered would leak
    RCDMatrix* pMatrix = new (matrixPool.newObject()) RCDMatrix(upper);
    vMatrices.back() = pMatrix;
    linkNeigMatrices(pMatrix);
    mRCD2RCDMatrix.tryEmplace(upper, pMatrix);
    return pMatrix;
}

// Links the new matrix and those round it, on both sides. Before it is registered: it must not find itself.
void RCDStore::linkNeigMatrices(RCDMatrix* pMatrix)
{
    for (int i = 0; i < 27; ++i) {
        const int dx = i % 3 - 1, dy = i / 3 % 3 - 1, dz = i / 9 - 1;
        u64 neigUpper = 0;
        if (!offsetUpper(pMatrix->getUpperPart(), dx, dy, dz, neigUpper))
            continue;
        RCDMatrix* pNeig = findRCDMatrix(neigUpper);
        if (pNeig == nullptr)
            continue;
        pMatrix->setNeigMtx(dx, dy, dz, pNeig);
        pNeig->setNeigMtx(-dx, -dy, -dz, pMatrix);
    }
}

} // namespace TESK_ZAN
