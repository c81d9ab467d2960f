#include "RCDMatrix.h"

#include "zanAssert.h"

#include <bit>

namespace TESK_ZAN
{

namespace
{

constexpr u64 EMPTY_LAYERS[8] = {};

constexpr unsigned int BIT_X_LOW = 12, BIT_X_HIGH = 14, BIT_Y_LOW = 10, BIT_Y_HIGH = 16, BIT_Z_LOW = 4,
                       BIT_Z_HIGH = 22;

// The block, relative to its own, that a neighbour of a cell lies in: a cell can look across one side at
// most.
int crossing(int local)
{
    return local == 0 ? -1 : local == 7 ? 1 : 0;
}

// Three rows of 8 bits round row y of a layer, in the low 24 bits. side is the layer of the block across, if
// y lies at its border.
u64 threeRows(u64 layer, u64 side, int y)
{
    if (y == 0)
        return layer << 8 | side >> 56;
    return y == 7 ? layer >> 48 | side << 16 : layer >> 8 * (y - 1);
}

// Of each of three rows the three bits round column x, in the low bits of each byte.
u64 threeColumns(u64 rows, u64 sideRows, int x)
{
    if (x == 0)
        return (rows << 1 & 0x060606) | (sideRows >> 7 & 0x010101);
    return x == 7 ? (rows >> 6 & 0x030303) | (sideRows << 2 & 0x040404) : rows >> (x - 1) & 0x070707;
}

// 3x3 bits, a byte a row, to 9 bits in a row.
unsigned int squeezeRows(u64 window)
{
    return static_cast<unsigned int>((window & 7) | (window >> 5 & 0x38) | (window >> 10 & 0x1c0));
}

} // namespace

RCDMatrix::RCDMatrix(u64 upperPart) : aBlockIndex{}, aNeigMtx{}, vBlocks(1), upper(upperPart)
{
    aNeigMtx[1][1][1] = this;
}

void RCDMatrix::set(u64 address)
{
    std::uint16_t& index = aBlockIndex[blockPlace(address)];
    if (index == EMPTY) {
        vBlocks.emplace_back();
        index = static_cast<std::uint16_t>(vBlocks.size() - 1); // at most 512
    }
    vBlocks[index].layer[address >> 12 & 7] |= u64{1} << bitPlace(address);
}

void RCDMatrix::unset(u64 address)
{
    vBlocks[aBlockIndex[blockPlace(address)]].layer[address >> 12 & 7] &= ~(u64{1} << bitPlace(address));
}

unsigned int RCDMatrix::gather(u64 address) const
{
    const u64 x = address & 7, y = address >> 6 & 7, z = address >> 12 & 7;
    const bool bInside = x - 1 < 6 && y - 1 < 6 && z - 1 < 6; // 0 wraps to a huge value
    if (!bInside)
        return gatherAcross(address);
    const u64* pLayer = vBlocks[aBlockIndex[blockPlace(address)]].layer + (z - 1);
    const u64 shift = x - 1 + 8 * (y - 1);
    return squeezeRows(pLayer[0] >> shift) | squeezeRows(pLayer[1] >> shift) << 9 |
           squeezeRows(pLayer[2] >> shift) << 18;
}

// The cell lies at the border of its block: up to 8 blocks hold its neighbourhood.
unsigned int RCDMatrix::gatherAcross(u64 address) const
{
    const auto coord = [address](int shift) { return static_cast<int>(address >> shift & 63); };
    const int x = coord(0) & 7, y = coord(6) & 7, z = coord(12) & 7;
    const int sideX = crossing(x), sideY = crossing(y), sideZ = crossing(z);
    const u64* aLayers[2][2][2]; // by z, y, x: 0 the cell's own block, 1 the one across
    for (int iz = 0; iz <= (sideZ != 0); ++iz)
        for (int iy = 0; iy <= (sideY != 0); ++iy)
            for (int ix = 0; ix <= (sideX != 0); ++ix)
                aLayers[iz][iy][ix] = layersAt((coord(0) >> 3) + ix * sideX, (coord(6) >> 3) + iy * sideY,
                                               (coord(12) >> 3) + iz * sideZ);
    unsigned int configuration = 0;
    for (int dz = 0; dz < 3; ++dz) {
        const int zNeig = z + dz - 1;
        const int iz = (zNeig & 7) != zNeig;
        const int iLayer = zNeig & 7;
        const auto rowsOf = [&](int ix) {
            return threeRows(aLayers[iz][0][ix][iLayer], sideY != 0 ? aLayers[iz][1][ix][iLayer] : 0, y);
        };
        configuration |= squeezeRows(threeColumns(rowsOf(0), sideX != 0 ? rowsOf(1) : 0, x)) << 9 * dz;
    }
    return configuration;
}

// The layers of a block by its place, -1 to 8 on each axis: places outside 0 to 7 lie in the next matrix.
const u64* RCDMatrix::layersAt(int bx, int by, int bz) const
{
    const RCDMatrix* pMatrix = aNeigMtx[(bx >> 3) + 1][(by >> 3) + 1][(bz >> 3) + 1];
    if (pMatrix == nullptr)
        return EMPTY_LAYERS;
    const size_t place = static_cast<size_t>((bx & 7) | (by & 7) << 3 | (bz & 7) << 6);
    return pMatrix->vBlocks[pMatrix->aBlockIndex[place]].layer;
}

int RCDMatrix::getConfiguration(u64 address, unsigned int& configuration) const
{
    configuration = gather(address);
    return std::popcount(configuration);
}

int RCDMatrix::getNeigs6(u64 address, std::vector<u64>* pvRCD) const
{
    const unsigned int configuration = gather(address);
    const u64 rcd = addressToRCD(address);
    int num = 0;
    for (const unsigned int bit : {BIT_X_LOW, BIT_X_HIGH, BIT_Y_LOW, BIT_Y_HIGH, BIT_Z_LOW, BIT_Z_HIGH}) {
        if ((configuration >> bit & 1) == 0)
            continue;
        pvRCD->push_back(rcd + RCD_OFFSETS_27[bit]);
        ++num;
    }
    return num;
}

void RCDMatrix::getNeigRCD26(u64 address, std::vector<u64>& vRCD) const
{
    constexpr unsigned int CENTRE = 1u << 13;
    const u64 rcd = addressToRCD(address);
    for (unsigned int rest = gather(address) & ~CENTRE; rest != 0; rest &= rest - 1)
        vRCD.push_back(rcd + RCD_OFFSETS_27[static_cast<size_t>(std::countr_zero(rest))]);
}

void RCDMatrix::setNeigMtx(int offx, int offy, int offz, RCDMatrix* pMatrix)
{
    RCDMatrix*& pLink = aNeigMtx[offx + 1][offy + 1][offz + 1];
    zanAssertText(pLink == nullptr, "aNeigMtx[offx+1][offy+1][offz+1]==0");
    pLink = pMatrix;
}

void RCDMatrix::addressToXYZ(u64 address, u64& x, u64& y, u64& z)
{
    const u64 orgAddress = address;
    z = address >> 12;
    y = address >> 6 & 63;
    x = address & 63;
    const u64 checkAddr = x + 64 * y + 4096 * (z & 63);
    zanAssertText(checkAddr == orgAddress, "checkAddr==orgAddress");
}

} // namespace TESK_ZAN
