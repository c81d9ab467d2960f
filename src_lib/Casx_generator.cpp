#include "Calc.h"
#include "Casx.h"
#include "Visualizer3.h"
#include "casxBaseRows.h"
#include "messages.h"

#include <iomanip>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr int SHOW_LEVELS = 12;
constexpr double SHOW_SIZE = 1000.0;
constexpr int POINT_SIZE = 8;

constexpr const char* COMMENT_COLUMN = "\r\t\t\t\t\t\t\t\t\t\t// ";

const char* colorOf(TriUse use)
{
    switch (use) {
    case TUT:
        return Visualizer3::getSceneColor(1);
    case TUF:
        return Visualizer3::getSceneColor(0);
    case TUI:
        return Visualizer3::getSceneColor(3);
    default:
        return Visualizer3::getSceneColor(9);
    }
}

const char* wordOf(TriUse use)
{
    switch (use) {
    case TUT:
        return "TUT";
    case TUF:
        return "TUF";
    case TUI:
        return "TUI";
    default:
        return "TUU";
    }
}

// One row of the table a line, each entry written by print(slot).
template <class F>
void printTable(std::ostream& os, const CasxRows& rows, F print)
{
    for (int config = 0; config < 256; ++config) {
        const int base = rows.vBaseOf[std::size_t(config)];
        os << "\t\t\t";
        for (int slot = 0; slot < CASX_SLOTS; ++slot) {
            print(std::size_t(config) * CASX_SLOTS + std::size_t(slot));
            os << (config == 255 && slot == CASX_SLOTS - 1 ? "" : ",");
        }
        os << COMMENT_COLUMN;
        if (base == config)
            os << "BASE CASE " << config << "\n";
        else
            os << "RotCase " << config << " (from base " << base << ")\n";
    }
}

void printRows(const CasxRows& rows, TriMode mode)
{
    std::ostream& os = messageStream();
    os << "\n\n The below code is for initAllCases\n\n";
    os << (mode == TM_THIN ? "\t\tcase TM_THIN:" : "\t\tcase TM_FAT:") << "\n\t\t\tvTriVec={\n";
    printTable(os, rows, [&](std::size_t i) { os << std::setw(3) << rows.vTriVec[i]; });
    os << "\t\t\t};\n";
    os << "\tvTriUse=std::vector<TriUse>({\n";
    printTable(os, rows, [&](std::size_t i) { os << wordOf(rows.vTriUse[i]); });
    os << "\t});" << std::endl;
}

// The key of the cube in which a configuration is drawn: a field of 16 by 16 cubes with gaps.
u64 showPlace(int config)
{
    return Calc::rcdToCCD(xyzToRCD(u64(4 + 4 * (config % 16)), u64(4 + 4 * (config / 16)), 4));
}

} // namespace

void Casx::runGenerator()
{
    messageStream() << "Casx::Casx, bExperimental=true - using base cases" << std::endl;
    const CasxRows rows = makeCasxRows(mode);
    vTriVec = rows.vTriVec;
    vTriUse = rows.vTriUse;
    printRows(rows, mode);
    writeScenes();
}

void Casx::writeScenes() const
{
    const Calc calc(0, 0, 0, SHOW_SIZE, SHOW_SIZE, SHOW_SIZE, SHOW_LEVELS);
    for (const CasxBaseRow& base : CASX_BASE_ROWS) {
        const bool bEmpty = vTriVec[std::size_t(base.config) * CASX_SLOTS] == CASX_END;
        Visualizer3 vis("baseConfig_" + std::to_string(base.config) + (bEmpty ? "_empty" : "") + ".list",
                        &calc, true);
        showConfig(base.config, showPlace(base.config), &calc, vis);
    }
    Visualizer3 vis(mode == TM_THIN ? "thinConfigs.list" : "fatConfigs.list", &calc, true);
    for (int config = 0; config < 256; ++config)
        showConfig(config, showPlace(config), &calc, vis);
}

void Casx::showConfig(int config, u64 key, const Calc* pCalc, Visualizer3& vis) const
{
    u64 members[8];
    members[5] = key;
    pCalc->completeCubeMembers8(members);
    for (int bit = 0; bit < 8; ++bit)
        if (config >> bit & 1)
            vis.writePoint(pCalc->getCellMid(members[bit]), POINT_SIZE, Visualizer3::getSceneColor(2));
    for (const TriUse use : {TUT, TUF, TUI}) {
        std::vector<u64> vTriCCD;
        getTriangles(config, members, vTriCCD, use);
        for (std::size_t i = 0; i < vTriCCD.size(); i += 3)
            vis.writeTriangle(pCalc->getCellMid(vTriCCD[i]), pCalc->getCellMid(vTriCCD[i + 1]),
                              pCalc->getCellMid(vTriCCD[i + 2]), colorOf(use));
    }
}

} // namespace TESK_ZAN
