#include "pointCoverage.h"

#include "Calc.h"
#include "RMesh.h"
#include "stageTrace.h"
#include "tesk_tools/FlatMap.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>

namespace TESK_ZAN
{

namespace
{

constexpr std::size_t MAX_SAMPLES = 10000;

using Cells27 = std::array<u64, 27>;
using ReachedCells = TESK_TOOLS::FlatMap<u64, bool, TESK_TOOLS::U64Hash>;

std::vector<Cells27> sampleCells(const Calc& calc, const std::vector<Point3>& vPoints)
{
    const std::size_t step = (vPoints.size() + MAX_SAMPLES - 1) / MAX_SAMPLES;
    std::vector<Cells27> vCells;
    vCells.reserve(MAX_SAMPLES);
    for (std::size_t i = 0; i < vPoints.size(); i += step) {
        const Point3& p = vPoints[i];
        if (!p.isFinite())
            continue;
        vCells.emplace_back();
        Calc::completeArray27_RCD(Calc::ccdToRCD(calc.getCCD(&p)), vCells.back().data());
    }
    return vCells;
}

} // namespace

double shareOutOfReach(const RMesh& mesh, const std::vector<Point3>& vPoints)
{
    const StageTimer stage("RM_coverage");
    if (vPoints.empty())
        return 0.0;
    zanAssert(mesh.getCalc() != nullptr);
    const Calc& calc = *mesh.getCalc();
    const std::vector<Cells27> vSamples = sampleCells(calc, vPoints);
    if (vSamples.empty())
        return 0.0;

    ReachedCells reached; // the cells around the samples
    reached.reserve(vSamples.size() * std::tuple_size_v<Cells27>);
    for (const Cells27& cells : vSamples)
        for (const u64 rcd : cells)
            reached.tryEmplace(rcd, false);
    std::vector<Point3*> vVtx;
    mesh.getPoints(vVtx);
    for (const Point3* pVtx : vVtx)
        if (bool* pReached = reached.find(Calc::ccdToRCD(calc.getCCD(pVtx))))
            *pReached = true;

    const auto isOut = [&](const Cells27& cells) {
        return std::none_of(cells.begin(), cells.end(), [&](u64 rcd) { return *reached.find(rcd); });
    };
    const auto numOut = std::count_if(vSamples.begin(), vSamples.end(), isOut);
    return static_cast<double>(numOut) / static_cast<double>(vSamples.size());
}

} // namespace TESK_ZAN
