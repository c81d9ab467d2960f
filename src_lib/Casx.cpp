#include "Casx.h"

#include "Calc.h"
#include "casxBaseRows.h"
#include "messages.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <bit>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

using Permutation = std::array<int, 8>; // old bit to new bit

constexpr Permutation TURN_X = {4, 5, 1, 0, 7, 6, 2, 3};
constexpr Permutation TURN_Y = {3, 0, 1, 2, 7, 4, 5, 6};
constexpr Permutation TURN_Z = {1, 5, 6, 2, 0, 4, 7, 3};

// Where the members lie in the cube, as bits x y z. Opposite cells have complementary places.
constexpr std::array<unsigned, 8> MEMBER_PLACES = {0b001, 0b101, 0b100, 0b000, 0b011, 0b111, 0b110, 0b010};

// Any cube away from the ends of its lattice does for comparing members.
constexpr u64 REFERENCE_KEY = 63;
constexpr int REFERENCE_LEVELS = 10;

using Corners = std::array<u64, 3>;

int rotate(int v, int n, const Permutation& turn)
{
    for (int i = 0; i < n; ++i) {
        int turned = 0;
        for (std::size_t bit = 0; bit < 8; ++bit)
            turned |= (v >> bit & 1) << turn[bit];
        v = turned;
    }
    return v;
}

const std::array<u64, 8>& referenceMembers()
{
    static const std::array<u64, 8> members = [] {
        std::array<u64, 8> array{};
        array[5] = REFERENCE_KEY;
        Calc(0, 0, 0, 100, 100, 100, REFERENCE_LEVELS).completeCubeMembers8(array.data());
        return array;
    }();
    return members;
}

Corners cornersOf(int code)
{
    Corners corners{};
    std::size_t num = 0;
    for (std::size_t bit = 0; bit < 8; ++bit)
        if (code >> bit & 1)
            corners[num++] = referenceMembers()[bit];
    return corners;
}

int codeOf(const Corners& corners)
{
    int code = 0;
    for (std::size_t bit = 0; bit < 8; ++bit)
        if (std::find(corners.begin(), corners.end(), referenceMembers()[bit]) != corners.end())
            code |= 1 << bit;
    return code;
}

// Brings the corners opposite to the first edge that both have to place 0.
bool alignOnSharedEdge(Corners& a, Corners& b)
{
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            const auto edgeA = std::minmax({a[(i + 1) % 3], a[(i + 2) % 3]});
            const auto edgeB = std::minmax({b[(j + 1) % 3], b[(j + 2) % 3]});
            if (edgeA != edgeB)
                continue;
            std::swap(a[0], a[i]);
            std::swap(b[0], b[j]);
            return true;
        }
    return false;
}

bool liesInAxisPlane(const Corners& a, u64 b0)
{
    return std::ranges::any_of(std::array{CCD_X, CCD_Y, CCD_Z}, [&](u64 axisMask) {
        return (((a[0] ^ a[1]) | (a[0] ^ a[2]) | (a[0] ^ b0)) & axisMask) == 0;
    });
}

TriUse useOf(char letter)
{
    return letter == 'T' ? TUT : (letter == 'F' ? TUF : TUI);
}

// ---- making the rows -------------------------------------------------------------------------------------

// A base row as it stands in the table.
struct Row {
    std::array<int, CASX_SLOTS> codes;
    std::array<TriUse, CASX_SLOTS> uses;
};

Row addTriConfig(const CasxBaseRow& base, TriMode tm)
{
    Row row;
    row.codes.fill(CASX_END);
    row.uses.fill(TUU);
    const auto copyCodes = [&row](const auto& codes) {
        std::copy_if(codes.begin(), codes.end(), row.codes.begin(), [](int code) { return code != 0; });
    };
    if (tm == TM_FAT)
        copyCodes(base.fat);
    else
        copyCodes(base.thin);
    std::transform(base.uses.begin(), base.uses.end(), row.uses.begin(), useOf);
    return row;
}

Row rotatedRow(const Row& base, TriMode tm, int i, int j, int k)
{
    Row row = base;
    for (int& code : row.codes)
        if (code < 256)
            code = Casx::rotateZ(Casx::rotateY(Casx::rotateX(code, i), j), k);
    for (std::size_t p = 0; p < row.codes.size(); ++p)
        for (std::size_t q = p + 1; q < row.codes.size(); ++q)
            Casx::samePlaneUnify(row.codes[p], row.codes[q]);
    if (tm == TM_THIN)
        std::sort(row.codes.begin(), row.codes.end());
    return row;
}

void expandBaseCase(const CasxBaseRow& base, TriMode tm, CasxRows& rows)
{
    const Row baseRow = addTriConfig(base, tm);
    for (int turns = 0; turns < 64; ++turns) {
        const int i = turns >> 4, j = turns >> 2 & 3, k = turns & 3;
        const int r = Casx::rotateZ(Casx::rotateY(Casx::rotateX(base.config, i), j), k);
        if (rows.vBaseOf[std::size_t(r)] >= 0)
            continue;
        const Row row = rotatedRow(baseRow, tm, i, j, k);
        std::copy(row.codes.begin(), row.codes.end(), rows.vTriVec.begin() + r * CASX_SLOTS);
        std::copy(row.uses.begin(), row.uses.end(), rows.vTriUse.begin() + r * CASX_SLOTS);
        rows.vBaseOf[std::size_t(r)] = base.config;
    }
}

} // namespace

CasxRows makeCasxRows(TriMode tm)
{
    CasxRows rows{std::vector<int>(CASX_SIZE, CASX_END), std::vector<TriUse>(CASX_SIZE, TUU),
                  std::vector<int>(256, -1)};
    for (const CasxBaseRow& base : CASX_BASE_ROWS)
        expandBaseCase(base, tm, rows);
    return rows;
}

// ---- Casx ------------------------------------------------------------------------------------------------

Casx::Casx(TriMode tm, bool bExperimental) : mode(tm)
{
    if (mode != TM_THIN && mode != TM_FAT)
        messageStream() << "unknown TriMode" << std::endl;
    zanAssert(mode == TM_THIN || mode == TM_FAT);
    if (bExperimental)
        runGenerator();
    else
        initAllCases();
}

void Casx::initAllCases()
{
    static const CasxRows thinRows = makeCasxRows(TM_THIN);
    static const CasxRows fatRows = makeCasxRows(TM_FAT);
    const CasxRows& rows = mode == TM_THIN ? thinRows : fatRows;
    vTriVec = rows.vTriVec;
    vTriUse = rows.vTriUse;
}

void Casx::getTriangles(int config, const u64* corners, std::vector<u64>& vTriCCD, TriUse tu) const
{
    const int numSet = Calc::getNumSet8(static_cast<unsigned int>(config));
    if (numSet < 3 || numSet == 8)
        return;
    const std::size_t first = std::size_t(config) * CASX_SLOTS;
    for (std::size_t slot = first; slot < first + CASX_SLOTS; ++slot) {
        if (tu != TUU && vTriUse[slot] != tu)
            continue;
        if (vTriVec[slot] > 255)
            return;
        for (unsigned code = unsigned(vTriVec[slot]); code != 0; code &= code - 1)
            vTriCCD.push_back(corners[std::countr_zero(code)]);
        if (vTriCCD.size() % 3 != 0) {
            messageStream() << "Uh, config=" << config << std::endl;
            zanAssertText(vTriCCD.size() % 3 == 0, "vTriCCD.size()%3==0");
        }
    }
}

int Casx::getExtraMask(int config) const
{
    const int missing = 255 - config;
    const int numMissing = Calc::getNumSet8(static_cast<unsigned int>(missing));
    return numMissing == 1 || numMissing == 2 ? missing : 0;
}

int Casx::getOppositeMask(int config) const
{
    const int missing = getExtraMask(config);
    int opposite = 0;
    unsigned differing = 0; // axes on which the missing cells differ
    for (std::size_t a = 0; a < 8; ++a) {
        if ((missing >> a & 1) == 0)
            continue;
        for (std::size_t b = 0; b < 8; ++b) {
            if (MEMBER_PLACES[b] == (MEMBER_PLACES[a] ^ 7))
                opposite |= 1 << b;
            if (missing >> b & 1)
                differing |= MEMBER_PLACES[a] ^ MEMBER_PLACES[b];
        }
    }
    return std::popcount(differing) <= 1 ? opposite : 0;
}

int Casx::rotateX(int v, int n)
{
    return rotate(v, n, TURN_X);
}

int Casx::rotateY(int v, int n)
{
    return rotate(v, n, TURN_Y);
}

int Casx::rotateZ(int v, int n)
{
    return rotate(v, n, TURN_Z);
}

bool Casx::samePlaneUnify(int& cfgA, int& cfgB)
{
    if (cfgA > 255 || cfgB > 255)
        return false;
    Corners a = cornersOf(cfgA), b = cornersOf(cfgB);
    if (!alignOnSharedEdge(a, b) || !liesInAxisPlane(a, b[0]))
        return false;
    if (std::min(a[1], a[2]) >= std::min(a[0], b[0])) {
        cfgA = codeOf({a[0], a[1], b[0]});
        cfgB = codeOf({a[0], b[0], a[2]});
    }
    return true;
}

} // namespace TESK_ZAN
