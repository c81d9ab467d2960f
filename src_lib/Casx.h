// Subsystem: mesh on codes. Builds on: definitions, casxBaseRows, Calc. Used by: Voro, Hole.
// The case table: which triangles are drawn between the occupied cells of a cube.
#pragma once

#include "definitions.h"

#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

class Calc;
class Visualizer3;

enum TriMode { TM_THIN = 0, TM_FAT = 1 };

// The role of a slot in a row. TUU in a query selects every slot; in the table it fills the slots behind the
// last code. Both roads of the library ask for TUT.
enum TriUse : std::uint8_t { TUU = 0, TUT = 1, TUF = 2, TUI = 3 };

constexpr int CASX_SLOTS = 12;
constexpr int CASX_END = 512; // any value above 255 ends a row
constexpr int CASX_SIZE = 256 * CASX_SLOTS;

// The rows of one mode. Row c stands at 12c to 12c+11: up to 10 codes, then CASX_END. The uses are read slot
// by slot and are the same for both modes.
struct CasxRows {
    std::vector<int> vTriVec;
    std::vector<TriUse> vTriUse;
    std::vector<int> vBaseOf; // for each config the base case that it is a rotation of
};

// All 256 rows from the base rows, by the rotations of the cube. Some microseconds.
CasxRows makeCasxRows(TriMode tm);

// A config is 0..255; bit i says that member i of Calc::completeCubeMembers8 is occupied:
//
//        7-------6        y
//       /|      /|        |         bit 5 is the key cell (x, y, z), bit 3 is (x-1, y-1, z-1);
//      4-------5 |        o---x     bits 0..3 go round the square at y-1, bit i+4 lies above bit i
//      | 3-----|-2       /
//      |/      |/       z
//      0-------1
//
// A triangle code is a byte mask with three of these bits. It has no orientation. On each face of the cube
// the two triangles of a pair are drawn on one fixed diagonal, whatever the rotation: 1-3, 0-5, 2-5, 3-4,
// 3-6, 5-7.
class Casx
{
public:
    // bExperimental true is for the developer of the table: it derives the rows afresh, prints them as source
    // text on the message stream and writes scenes of the configurations into the working folder.
    Casx(TriMode tm, bool bExperimental);

    // Appends three codes for each triangle of this use, in ascending order of their bits. corners are the
    // eight member codes of the cube. Fewer than 3 or all 8 occupied cells give nothing.
    void getTriangles(int config, const u64* corners, std::vector<u64>& vTriCCD, TriUse tu) const;

    // The missing cells where one or two are missing; for every other config 0.
    int getExtraMask(int config) const;

    // The cells that face the gap: opposite the one missing cell through the centre of the cube, or on the
    // opposite cube edge where two cells adjacent along an axis are missing; for every other config 0.
    int getOppositeMask(int config) const;

    // Draws a configuration at the cube with this key: the occupied cells as points, the triangles in a
    // colour by their use.
    void showConfig(int config, u64 key, const Calc* pCalc, Visualizer3& vis) const;

    // The tables, CASX_SIZE entries each.
    const std::vector<int>& getTriVec() const { return vTriVec; }
    const std::vector<TriUse>& getTriUse() const { return vTriUse; }

    // The quarter turns of the cube, applied n times, on a config or a triangle code.
    static int rotateX(int v, int n);
    static int rotateY(int v, int n);
    static int rotateZ(int v, int n);

    // If the two codes share an edge and lie on one face of the cube, redraws them on the fixed diagonal of
    // the face, where they are not drawn so already, and returns true. Codes above 255 and all others stay:
    // false.
    static bool samePlaneUnify(int& cfgA, int& cfgB);

private:
    void initAllCases();

    // --- the generator: Casx_generator.cpp ---
    void runGenerator();
    void writeScenes() const;

    TriMode mode;
    std::vector<int> vTriVec;
    std::vector<TriUse> vTriUse;
};

} // namespace TESK_ZAN
