// Subsystem: mesh on codes. Builds on: Casx, Calc. Used by: Voro.
// What a cube draws, by its configuration: the rows of the case table as the extraction reads them.
#pragma once

#include "Casx.h"
#include "definitions.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace TESK_ZAN
{

// The corners of a square, in the order of the drawing:
//
//     v0 --- v1     v0 and v3 are opposite each other,
//      |   / |      v1-v2 is the diagonal of the table
//      | /   |
//     v2 --- v3
template <class Corner>
struct Square {
    Corner v0, v1, v2, v3;

    // Its two triangles.
    std::array<Corner, 6> cut(bool bTableDiagonal) const
    {
        if (bTableDiagonal)
            return {v0, v1, v2, v2, v1, v3};
        return {v0, v1, v3, v0, v3, v2};
    }
};

// From the cells of the table's two triangles on it.
Square<u64> orderSquare(const u64 cells[6]);

// A side of a cube. The two cubes at it see it as opposite faces, with the same diagonal.
struct CubeFace {
    int config;          // its four cells
    int diagonal;        // the two on the diagonal of the table
    std::uint8_t lowest; // of its cells, the one with the lowest code
    std::uint8_t tribit; // of the axis across it: with the lowest cell this names the face
};

// Corners and faces of a cube are bytes: the bits of its configuration, places in FACES.
class CubeRows
{
public:
    using Corner = std::uint8_t;

    static constexpr std::array<CubeFace, 6> FACES = {{{15, 0b1010, 3, AXIS_Y},
                                                       {240, 0b10100000, 7, AXIS_Y},
                                                       {153, 0b11000, 3, AXIS_X},
                                                       {102, 0b100100, 2, AXIS_X},
                                                       {204, 0b1001000, 3, AXIS_Z},
                                                       {51, 0b100001, 0, AXIS_Z}}};
    static constexpr std::uint8_t NO_FACE = 6;

    // Of a configuration that is no single face: that has a square.
    struct Row {
        std::uint8_t numCorners = 0; // three a triangle
        std::array<Corner, 3 * CASX_SLOTS> corners{};
        std::uint8_t numFaces = 0; // those with four occupied cells and a triangle on the diagonal
        std::array<std::uint8_t, FACES.size()> faces{};
    };

    explicit CubeRows(const Casx& casx);

    // The face that is all of the configuration, or NO_FACE.
    std::uint8_t getFlatFace(int config) const { return flatFaces[std::size_t(config)]; }

    const Square<Corner>& getSquare(std::uint8_t face) const { return squares[face]; }

    const Row& getRow(int config) const { return rows[std::size_t(config)]; }

private:
    void fillRow(const Casx& casx, int config);
    void fillSquare(const Casx& casx, std::uint8_t face);

    std::array<std::uint8_t, 256> flatFaces{};
    std::array<Square<Corner>, FACES.size()> squares{};
    std::array<Row, 256> rows{};
};

} // namespace TESK_ZAN
