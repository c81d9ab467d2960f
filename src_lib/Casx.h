// Subsystem: mesh on codes. Builds on: definitions, casxBaseRows. Used by: Voro, Hole.
// The case table: which triangles are drawn between the occupied cells of a cube.
#pragma once

#include "definitions.h"

#include <array>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

class Visualizer3;

enum TriMode { TM_THIN = 0, TM_FAT = 1 };

// The role of a slot in a row. TUU in a query selects every slot; in the table it fills the slots behind the
// last code. Both roads of the library ask for TUT.
enum TriUse : std::uint8_t { TUU = 0, TUT = 1, TUF = 2, TUI = 3 };

// A config is 0..255; bit i says that member i of Calc::completeCubeMembers8 is occupied:
//
//        7-------6        y
//       /|      /|        |        bit 5 is the key cell (x, y, z), bit 3 is (x-1, y-1, z-1);
//      4-------5 |        o--x     bits 0..3 go round the square at y-1, bit i+4 lies above bit i
//      | 3-----|-2       /
//      |/      |/       z
//      0-------1
//
// A triangle code is a byte mask with three of these bits. It has no orientation. Row c of the table stands
// at 12c to 12c+11: up to 10 codes, then CASX_END. All 256 rows follow from 23 base rows by the rotations of
// the cube; this is done once per process.
constexpr int CASX_SLOTS = 12;
constexpr int CASX_END = 512; // any value above 255 ends a row
constexpr int CASX_SIZE = 256 * CASX_SLOTS;

class Casx
{
public:
    // bExperimental true is for the developer of the table: it runs the generator afresh, prints the rows as
    // source text on the message stream and writes scenes of the base cases into the working folder.
    Casx(TriMode tm, bool bExperimental);

    // Appends three codes for each triangle of this use, in ascending order of their bits. corners are the
    // eight member codes of the cube. Fewer than 3 or all 8 occupied cells give nothing.
    void getTriangles(int config, const u64* corners, std::vector<u64>& vTriCCD, TriUse tu) const;

    // The missing cells where one or two are missing; for every other config 0.
    int getExtraMask(int config) const;

    // The cells that face the gap: opposite the one missing cell through the centre of the cube, or on the
    // opposite cube edge where two cells adjacent along an axis are missing; for every other config 0.
    int getOppositeMask(int config) const;

    // Draws a configuration at the place of the cube with this key, each triangle in the colour of its use.
    void showConfig(int config, u64 key, Visualizer3& vis) const;

    // The tables, CASX_SIZE entries each; one table of uses serves both modes, slot by slot.
    const std::vector<int>& getTriVec() const { return vTriVec; }
    const std::vector<TriUse>& getTriUse() const { return vTriUse; }

    // The two codes drawn on the fixed diagonal of their common cube face, if they lie on one: false and
    // unchanged otherwise, also if one is above 255.
    static bool samePlaneUnify(int& cfgA, int& cfgB);

    // The quarter turns of the cube, applied n times, on a config or a triangle code.
    static int rotateX(int v, int n);
    static int rotateY(int v, int n);
    static int rotateZ(int v, int n);

private:
    void initAllCases();

    // --- the generator: Casx_generator.cpp ---
    void runGenerator();
    void addTriConfig();
    void expandBaseCases();
    void printRows() const;
    void printUses() const;
    void writeScenes() const;

    TriMode mode;
    std::vector<int> vTriVec;
    std::vector<TriUse> vTriUse;
};

} // namespace TESK_ZAN
