#include "CubeRows.h"

#include "Calc.h"
#include "zanAssert.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

namespace
{

// In the place of codes: the table then gives corners by their bits.
constexpr u64 CORNER_BITS[8] = {0, 1, 2, 3, 4, 5, 6, 7};

// Codes of eight cells that lie as the members of a cube do.
constexpr u64 CELLS[8] = {AXIS_Z,          AXIS_X | AXIS_Z,          AXIS_X,          0,
                          AXIS_Y | AXIS_Z, AXIS_X | AXIS_Y | AXIS_Z, AXIS_X | AXIS_Y, AXIS_Y};

std::vector<u64> triangleBits(const Casx& casx, int config)
{
    std::vector<u64> vBits;
    casx.getTriangles(config, CORNER_BITS, vBits, TUT);
    return vBits;
}

} // namespace

Square<u64> orderSquare(const u64 cells[6])
{
    u64 v0 = cells[0], v1 = cells[1], v2 = cells[2];
    const u64* pB =
        std::find_if(cells + 3, cells + 6, [=](u64 ccd) { return ccd != v0 && ccd != v1 && ccd != v2; });
    const bool bFound = pB != cells + 6;
    zanAssert(bFound);
    const u64 v3 = *pB;
    if (Calc::getNeigType(v3, v0) != NT_EDGE)
        std::swap(v0, v1);
    if (Calc::getNeigType(v3, v0) != NT_EDGE)
        std::swap(v0, v2);
    zanAssertText(Calc::getNeigType(v3, v0) == NT_EDGE, "pCalc->getNeigType(v3,v0)==NT_EDGE");
    return {v0, v1, v2, v3};
}

CubeRows::CubeRows(const Casx& casx)
{
    flatFaces.fill(NO_FACE);
    for (std::uint8_t face = 0; face < NO_FACE; ++face) {
        flatFaces[std::size_t(FACES[face].config)] = face;
        fillSquare(casx, face);
    }
    for (int config = 0; config < 256; ++config)
        if (getFlatFace(config) == NO_FACE)
            fillRow(casx, config);
}

void CubeRows::fillRow(const Casx& casx, int config)
{
    const std::vector<u64> vBits = triangleBits(casx, config);
    Row& row = rows[std::size_t(config)];
    zanAssert(vBits.size() <= row.corners.size());
    for (const u64 bit : vBits)
        row.corners[row.numCorners++] = Corner(bit);
    for (std::uint8_t face = 0; face < NO_FACE; ++face) {
        const auto [cells, diagonal, lowest, tribit] = FACES[face];
        bool bDrawn = false;
        for (std::size_t i = 0; i < vBits.size(); i += 3) {
            const int triangle = 1 << vBits[i] | 1 << vBits[i + 1] | 1 << vBits[i + 2];
            bDrawn = bDrawn || (triangle & diagonal) == diagonal;
        }
        if (bDrawn && (config & cells) == cells)
            row.faces[row.numFaces++] = face;
    }
}

void CubeRows::fillSquare(const Casx& casx, std::uint8_t face)
{
    const std::vector<u64> vBits = triangleBits(casx, FACES[face].config);
    zanAssertText(vBits.size() == 6, "vTriVCD.size()==6");
    u64 cells[6];
    std::transform(vBits.begin(), vBits.end(), cells, [](u64 bit) { return CELLS[bit]; });
    const auto bitOf = [](u64 cell) { return Corner(std::find(CELLS, CELLS + 8, cell) - CELLS); };
    const auto [v0, v1, v2, v3] = orderSquare(cells);
    zanAssert(FACES[face].diagonal == (1 << bitOf(v1) | 1 << bitOf(v2)));
    squares[face] = {bitOf(v0), bitOf(v1), bitOf(v2), bitOf(v3)};
}

} // namespace TESK_ZAN
