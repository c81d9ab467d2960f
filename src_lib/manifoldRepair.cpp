#include "manifoldRepair.h"

#include "FanSplitter.h"
#include "RMesh.h"
#include "SeamSheets.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "twistLines.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

constexpr int ABOVE_2 = -1; // for getDegN

// The next triangle round the vertex, over pRE, which becomes the edge behind it. Null where no fan goes on.
RTriangle* stepRound(const Point3* pVtx, const RTriangle* pRT, const REdge*& pRE)
{
    RTriangle* pNextT = pRE->getDegree() == 2 ? pRE->getOtherT(pRT) : nullptr;
    if (pNextT == nullptr)
        return nullptr;
    const int ici = pNextT->getICI(pVtx);
    const REdge* pBehind = pNextT->getRE((ici + 1) % 3);
    pRE = pBehind != pRE ? pBehind : pNextT->getRE((ici + 2) % 3);
    return pNextT;
}

// True if all triangles at the vertex are one fan or half-fan over edges of degree 2.
bool isOneFan(const RMesh& mesh, const Point3* pVtx)
{
    const auto& vTNumbers = recordOf(pVtx).vTNumbers;
    const RTriangle* pFirstT = mesh.getAllT()[vTNumbers[0]];
    const int ici = pFirstT->getICI(pVtx);
    size_t numReached = 1;
    for (const int side : {1, 2}) {
        const REdge* pRE = pFirstT->getRE((ici + side) % 3);
        const RTriangle* pRT = stepRound(pVtx, pFirstT, pRE);
        for (; pRT != nullptr && pRT != pFirstT; pRT = stepRound(pVtx, pRT, pRE))
            ++numReached;
        if (pRT == pFirstT)
            break; // closed: the other side would count the same ones again
    }
    return numReached == vTNumbers.size();
}

// Those with more than one fan. In parallel.
std::vector<Point3*> selectBadVtx(const RMesh& mesh, const std::vector<Point3*>& vVtx)
{
    std::vector<char> vBad(vVtx.size(), 0);
    forRangeMT(vVtx.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            vBad[i] = isOneFan(mesh, vVtx[i]) ? 0 : 1;
    });
    std::vector<Point3*> vBadVtx;
    for (size_t i = 0; i < vVtx.size(); ++i)
        if (vBad[i] != 0)
            vBadVtx.push_back(vVtx[i]);
    return vBadVtx;
}

// Midway between the endpoints; each half of a coordinate first, so that the sum stays finite.
Point3 midpointOf(const REdge& edge)
{
    const Point3& p0 = *edge.getVtx0();
    const Point3& p1 = *edge.getVtx1();
    Point3 mid(0.5 * p0.x() + 0.5 * p1.x(), 0.5 * p0.y() + 0.5 * p1.y(), 0.5 * p0.z() + 0.5 * p1.z());
    mid.copyColorFrom(p0, p1);
    return mid;
}

class Repair
{
public:
    explicit Repair(RMesh& mesh_) : mesh(mesh_) {}

    // Each round parts all sheets that can be parted at the ends of their edges, and at least one that can't:
    // the defects get fewer.
    RepairReport run()
    {
        findDefects();
        report.numOverfullRE = vOverfullRE.size();
        report.numBadVtx = vBadVtx.size();
        while (!vOverfullRE.empty() || !vBadVtx.empty()) {
            ++report.numRounds;
            removeTwins();
            partSheets();
            findDefects();
        }
        cutTwists();
        return report;
    }

private:
    void findDefects()
    {
        const StageTimer stage("RM_defects");
        vOverfullRE.clear();
        mesh.getDegN(ABOVE_2, vOverfullRE);
        std::vector<Point3*> vVtx;
        mesh.getPoints(vVtx);
        vBadVtx = selectBadVtx(mesh, vVtx);
    }

    // Twins would meet each other in all of their edges, and leave a pillow of two triangles.
    void removeTwins()
    {
        const size_t numBefore = mesh.getNumT();
        mesh.killDuplicateTriangles();
        report.numRemovedT += numBefore - mesh.getNumT();
    }

    void partSheets()
    {
        mesh.createPatchesOrient();
        SeamSheets sheets(mesh);
        sheets.decide();
        std::vector<RTriangle*> vScrapT;
        sheets.getScrapT(vScrapT);
        for (RTriangle* pRT : vScrapT)
            pRT->kill(&mesh);
        report.numRemovedT += vScrapT.size();
        FanSplitter splitter(mesh, sheets.getJoints());
        split(splitter, sheets.getSeams());
        splitInseparable(splitter, sheets.getJoints());
    }

    // Splits the fans at the bad vertices and at the ends of these edges.
    void split(FanSplitter& splitter, const std::vector<REdge*>& vRE)
    {
        std::vector<Point3*> vVtx = vBadVtx;
        for (const REdge* pRE : vRE)
            vVtx.insert(vVtx.end(), {pRE->getVtx0(), pRE->getVtx1()});
        sortUniqueByNumber(vVtx);
        for (Point3* pVtx : vVtx)
            splitter.splitAt(pVtx);
        splitter.apply();
        report.numCopiedVtx += splitter.getNumCopies();
    }

    // What meets in an edge may hang together around both of its ends. So each pair gets a vertex of its own
    // in the middle. Where a triangle has two such edges, the second one is left for the next round.
    void splitInseparable(const FanSplitter& splitter, const EdgeJoints& joints)
    {
        vOverfullRE.clear();
        mesh.getDegN(ABOVE_2, vOverfullRE);
        const size_t numBefore = mesh.getAllT().size();
        for (REdge* pRE : vOverfullRE) {
            std::vector<RTriangle*> vRT;
            pRE->getAliveT(vRT);
            const bool bTouched = std::any_of(
                vRT.begin(), vRT.end(), [&](const RTriangle* pRT) { return numberOf(pRT) >= numBefore; });
            if (bTouched)
                continue;
            ++report.numSplitRE;
            while (!vRT.empty())
                splitPair(pRE, takePair(pRE, vRT, splitter, joints));
        }
    }

    // Takes the last triangle out of vRT, and with it the one that it is joined to over the edge, if any.
    static std::vector<RTriangle*> takePair(const REdge* pRE, std::vector<RTriangle*>& vRT,
                                            const FanSplitter& splitter, const EdgeJoints& joints)
    {
        RTriangle* pRT = vRT.back();
        vRT.pop_back();
        const RTriangle* pFormerT = splitter.getFormerT(pRT);
        const int ici = pRT->getICI(pRE->getVtx0(), pRE->getVtx1());
        const RTriangle* pJoinedT = joints.getJoinedT(pFormerT->getRE(ici), pFormerT);
        const auto pos = std::find_if(vRT.begin(), vRT.end(), [&](const RTriangle* pOtherT) {
            return pJoinedT != nullptr && splitter.getFormerT(pOtherT) == pJoinedT;
        });
        if (pos == vRT.end())
            return {pRT};
        RTriangle* pOtherT = *pos;
        vRT.erase(pos);
        return {pRT, pOtherT};
    }

    // Replaces each of the triangles by two that meet at a vertex of these triangles alone.
    void splitPair(const REdge* pRE, const std::vector<RTriangle*>& vPairT)
    {
        Point3* pMid = mesh.createVtxBeside(midpointOf(*pRE));
        for (RTriangle* pRT : vPairT) {
            const int ici = pRT->getICI(pRE->getVtx0(), pRE->getVtx1());
            Point3* pOpp = pRT->getCorner(ici);
            Point3* pNext = pRT->getCorner((ici + 1) % 3);
            Point3* pPrev = pRT->getCorner((ici + 2) % 3);
            pRT->kill(&mesh);
            mesh.createT(pOpp, pNext, pMid);
            mesh.createT(pOpp, pMid, pPrev);
        }
    }

    // Twisted edges form lines that end at the border or nowhere. Cut there, both sides are fans of their own
    // at each vertex of the line.
    void cutTwists()
    {
        if (findTwistedRE(mesh).empty())
            return;
        mesh.createPatchesOrient();
        const std::vector<REdge*> vTwistedRE = orientTwisted(mesh);
        EdgeJoints joints;
        std::vector<RTriangle*> vRT;
        for (const REdge* pRE : vTwistedRE) {
            vRT.clear();
            pRE->getAliveT(vRT);
            for (const RTriangle* pRT : vRT)
                joints.end(pRE, pRT);
        }
        FanSplitter splitter(mesh, joints);
        split(splitter, vTwistedRE);
        report.numTwistedRE = vTwistedRE.size();
    }

    RMesh& mesh;
    RepairReport report;
    std::vector<REdge*> vOverfullRE; // by number
    std::vector<Point3*> vBadVtx;    // by number
};

} // namespace

std::string toText(const RepairReport& report)
{
    return std::to_string(report.numOverfullRE) + " edges with more than two triangles and " +
           std::to_string(report.numBadVtx) + " vertices with more than one fan: removed " +
           std::to_string(report.numRemovedT) + " triangles, copied " + std::to_string(report.numCopiedVtx) +
           " vertices, split " + std::to_string(report.numSplitRE) + " edges, cut " +
           std::to_string(report.numTwistedRE);
}

RepairReport repairNonManifold(RMesh& mesh)
{
    const StageTimer stage("RM_repair");
    return Repair(mesh).run();
}

} // namespace TESK_ZAN
