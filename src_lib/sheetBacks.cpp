#include "sheetBacks.h"

#include "RMesh.h"
#include "freeFunctions.h"
#include "stageTrace.h"
#include "tesk_tools/FlatMap.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

namespace
{

constexpr double THICKNESS_CELLS = 0.1; // enough to tell the sides apart in the floats of a file
constexpr double MIN_ONE_WAY = 0.5;     // of the area: a half sphere has just this
constexpr size_t NARROW_SIZE = 4;       // triangles for each edge of the rim

// Along the normal, twice as long as the area.
Vector3 areaNormal(const RTriangle& triangle)
{
    return crossProd(*triangle.getCorner(1) - *triangle.getCorner(0),
                     *triangle.getCorner(2) - *triangle.getCorner(0));
}

// A component of the mesh that has a border.
struct Sheet {
    std::vector<RTriangle*> vRT;
    std::vector<std::pair<Point3*, Point3*>> vRim; // ends of the border edges as the triangles run along them
};

void collectSheet(RTriangle* pFirstT, std::vector<char>& vSeen, Sheet& sheet)
{
    sheet.vRT.assign(1, pFirstT);
    sheet.vRim.clear();
    vSeen[numberOf(pFirstT)] = 1;
    for (size_t numDone = 0; numDone < sheet.vRT.size(); ++numDone) {
        const RTriangle* pRT = sheet.vRT[numDone];
        for (int ici = 0; ici < 3; ++ici) {
            const REdge* pRE = pRT->getRE(ici);
            if (pRE->isBorder()) {
                sheet.vRim.emplace_back(pRT->getCorner(nextIndex3(ici)), pRT->getCorner(prevIndex3(ici)));
                continue;
            }
            RTriangle* pNeig = pRE->getOtherT(pRT);
            if (vSeen[numberOf(pNeig)] == 0) {
                vSeen[numberOf(pNeig)] = 1;
                sheet.vRT.push_back(pNeig);
            }
        }
    }
}

bool isNarrow(const Sheet& sheet)
{
    return sheet.vRT.size() <= NARROW_SIZE * sheet.vRim.size();
}

// Faces one way as a whole. The normals of a body cancel each other but for the area of its hole.
bool facesOneWay(const Sheet& sheet)
{
    Vector3 sum;
    double area = 0.0;
    for (const RTriangle* pRT : sheet.vRT) {
        const Vector3 normal = areaNormal(*pRT);
        sum += normal;
        area += normal.length();
    }
    return sum.length() > MIN_ONE_WAY * area;
}

// Behind a sheet, corner for corner.
class Back
{
public:
    Back(RMesh& mesh_, const Sheet& sheet_) : mesh(mesh_), sheet(sheet_)
    {
        for (const RTriangle* pRT : sheet.vRT) {
            const Vector3 normal = areaNormal(*pRT);
            for (int ici = 0; ici < 3; ++ici)
                *mNormal.tryEmplace(numberOf(pRT->getCorner(ici)), Vector3()).first += normal;
        }
    }

    void create()
    {
        for (const RTriangle* pRT : sheet.vRT)
            mesh.createT(behind(pRT->getCorner(0)), behind(pRT->getCorner(2)), behind(pRT->getCorner(1)));
        for (const auto& [pFrom, pTo] : sheet.vRim) {
            mesh.createT(pTo, pFrom, behind(pFrom));
            mesh.createT(pTo, behind(pFrom), behind(pTo));
        }
    }

private:
    Point3* behind(const Point3* pVtx)
    {
        const auto [ppBack, bNew] = mBack.tryEmplace(numberOf(pVtx), nullptr);
        if (bNew) {
            const Vector3& normal = *mNormal.find(numberOf(pVtx));
            const double length = normal.length();
            const double depth = length > 0.0 ? THICKNESS_CELLS * mesh.getCellSize() / length : 0.0;
            Point3 p = *pVtx - depth * normal;
            p.copyColorFrom(*pVtx, *pVtx);
            *ppBack = mesh.createVtxBeside(p);
        }
        return *ppBack;
    }

    RMesh& mesh;
    const Sheet& sheet;
    TESK_TOOLS::FlatMap<u64, Vector3, TESK_TOOLS::U64Hash> mNormal; // by vertex number, not of unit length
    TESK_TOOLS::FlatMap<u64, Point3*, TESK_TOOLS::U64Hash> mBack;   // by vertex number
};

} // namespace

size_t closeThinSheets(RMesh& mesh, bool bBodiesClosed, const std::function<bool(const Point3&)>& isMeant)
{
    const StageTimer stage("RM_backs");
    std::vector<RTriangle*> vBorderT;
    for (const REdge* pRE : mesh.getAllRE())
        if (pRE->isBorder())
            vBorderT.push_back(pRE->getTriangle(true, true));
    size_t numClosed = 0;
    std::vector<char> vSeen(vBorderT.empty() ? 0 : mesh.getAllT().size(), 0);
    Sheet sheet;
    for (RTriangle* pRT : vBorderT) {
        if (vSeen[numberOf(pRT)] != 0)
            continue;
        collectSheet(pRT, vSeen, sheet);
        const auto numMeant = std::count_if(sheet.vRim.begin(), sheet.vRim.end(),
                                            [&](const auto& ends) { return isMeant(*ends.first); });
        if (2 * size_t(numMeant) >= sheet.vRim.size())
            continue;
        if (!(bBodiesClosed || isNarrow(sheet) || facesOneWay(sheet)))
            continue;
        Back(mesh, sheet).create();
        ++numClosed;
    }
    return numClosed;
}

} // namespace TESK_ZAN
