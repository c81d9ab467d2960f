#include "manifoldRepair.h"

#include "FanSplitter.h"
#include "RMesh.h"
#include "SeamSheets.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "twistLines.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace TESK_ZAN
{

namespace
{

// What is wrong at a vertex; flags.
using Faults = std::uint8_t;
constexpr Faults MORE_FANS = 1; // its triangles are not one fan or half-fan over edges of degree 2
constexpr Faults PILLOW = 2;    // it has two triangles and they are twins
constexpr Faults TWISTED = 4;   // two neighbours in a fan run through their edge in the same direction

// A walk from triangle to triangle round a vertex, over edges of degree 2.
class FanWalk
{
public:
    // side: over the edge opposite the next (1) or the previous (2) corner of the first triangle.
    FanWalk(const Point3* pVtx_, const RTriangle* pFirstT, int side_) : pVtx(pVtx_), pRT(pFirstT), side(side_)
    {
    }

    // The next triangle; null where the fan ends.
    const RTriangle* step()
    {
        const REdge* pRE = pRT->getRE((pRT->getICI(pVtx) + side) % 3);
        pRT = pRE->getDegree() == 2 ? pRE->getOtherT(pRT) : nullptr;
        if (pRT == nullptr)
            return nullptr;
        const int nextSide = pRT->getRE((pRT->getICI(pVtx) + 1) % 3) == pRE ? 2 : 1;
        bTwisted = bTwisted || nextSide != side;
        side = nextSide;
        return pRT;
    }

    bool hasTwist() const { return bTwisted; }

private:
    const Point3* pVtx;
    const RTriangle* pRT;
    int side; // changes only over an edge on which the triangles disagree
    bool bTwisted = false;
};

// TWISTED is sure to be told only where all is one fan.
Faults findFaults(const RMesh& mesh, const Point3* pVtx)
{
    const auto& vTNumbers = recordOf(pVtx).vTNumbers;
    if (vTNumbers.empty())
        return 0;
    const RTriangle* pFirstT = mesh.getAllT()[vTNumbers[0]];
    size_t numReached = 1;
    bool bClosed = false;
    Faults faults = 0;
    for (const int side : {1, 2}) {
        if (bClosed)
            break; // the other side would count the same ones again
        FanWalk walk(pVtx, pFirstT, side);
        const RTriangle* pRT = walk.step();
        for (; pRT != nullptr && pRT != pFirstT; pRT = walk.step())
            ++numReached;
        bClosed = pRT == pFirstT;
        if (walk.hasTwist())
            faults |= TWISTED;
    }
    if (numReached != vTNumbers.size())
        faults |= MORE_FANS;
    else if (bClosed && numReached == 2)
        faults |= PILLOW;
    return faults;
}

// All edges at these vertices, by number.
std::vector<REdge*> edgesAt(const RMesh& mesh, const std::vector<Point3*>& vVtx)
{
    std::vector<REdge*> vAllRE;
    std::vector<REdge*> vRE;
    for (const Point3* pVtx : vVtx) {
        mesh.getIncidentRE(pVtx, vRE);
        vAllRE.insert(vAllRE.end(), vRE.begin(), vRE.end());
    }
    sortUniqueByNumber(vAllRE);
    return vAllRE;
}

// Those with more than two triangles.
std::vector<REdge*> selectOverfull(const std::vector<REdge*>& vRE)
{
    std::vector<REdge*> vOverfullRE;
    std::copy_if(vRE.begin(), vRE.end(), std::back_inserter(vOverfullRE),
                 [](const REdge* pRE) { return pRE->getDegree() > 2; });
    return vOverfullRE;
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

// One pass over the vertices finds all defects, and the rest is done around them: they are few, and the mesh
// is large. Only the patches take a pass of their own.
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
            const size_t numVtxBefore = mesh.getNumVtx();
            std::vector<Point3*> vVtx = vBadVtx;
            vVtx.insert(vVtx.end(), vPillowVtx.begin(), vPillowVtx.end());
            removeTwins(edgesAt(mesh, vVtx));
            partSheets();
            appendVtxFrom(numVtxBefore, vVtx);
            findDefectsAround(std::move(vVtx));
        }
        cutTwists();
        return report;
    }

private:
    void findDefects()
    {
        std::vector<Point3*> vVtx;
        mesh.getPoints(vVtx);
        findDefectsAmong(vVtx);
    }

    // What a round does at other vertices than these and their neighbours takes all of their triangles.
    void findDefectsAround(std::vector<Point3*> vVtx)
    {
        const size_t num = vVtx.size();
        std::vector<Point3*> vRingVtx;
        for (size_t i = 0; i < num; ++i) {
            mesh.getRingVtx(vVtx[i], vRingVtx);
            vVtx.insert(vVtx.end(), vRingVtx.begin(), vRingVtx.end());
        }
        sortUniqueByNumber(vVtx);
        findDefectsAmong(vVtx);
    }

    // vVtx: by number; no other vertex has a defect.
    void findDefectsAmong(const std::vector<Point3*>& vVtx)
    {
        const StageTimer stage("RM_defects");
        std::vector<Faults> vFaults;
        transformMT(vVtx, vFaults, [this](const Point3* pVtx) { return findFaults(mesh, pVtx); });
        vBadVtx.clear();
        vPillowVtx.clear();
        for (size_t i = 0; i < vVtx.size(); ++i) {
            if ((vFaults[i] & MORE_FANS) != 0)
                vBadVtx.push_back(vVtx[i]);
            if ((vFaults[i] & PILLOW) != 0)
                vPillowVtx.push_back(vVtx[i]);
            bTwisted = bTwisted || (vFaults[i] & TWISTED) != 0;
        }
        const std::vector<REdge*> vBadRE = edgesAt(mesh, vBadVtx);
        noteTwists(vBadRE);
        // No single fan has more than two ends, so both endpoints of such an edge are bad.
        vOverfullRE = selectOverfull(vBadRE);
    }

    // Twins would meet each other in all of their edges, and leave a pillow of two triangles. At each of
    // their corners they are a fan of two if both edges there have no other triangle, and else an end of an
    // overfull edge: so all their edges are at the vertices that have been found.
    void removeTwins(const std::vector<REdge*>& vRE)
    {
        std::vector<RTriangle*> vTwinT;
        mesh.getDuplicateTriangles(vRE, vTwinT);
        report.numRemovedT += mesh.killTwins(vTwinT);
        noteTwists(vRE); // an edge may have two triangles now
    }

    void noteTwists(const std::vector<REdge*>& vRE)
    {
        bTwisted =
            bTwisted || std::any_of(vRE.begin(), vRE.end(), [](const REdge* pRE) { return isTwisted(*pRE); });
    }

    void appendVtxFrom(size_t number, std::vector<Point3*>& vVtx) const
    {
        for (; number < mesh.getNumVtx(); ++number)
            vVtx.push_back(mesh.getVtx(number));
    }

    void partSheets()
    {
        const std::vector<REdge*> vSeamRE = selectOverfull(vOverfullRE); // some went with the twins
        // Patches are a matter of the whole mesh. Without a seam nobody asks for them, and without a twist
        // there is nothing to turn.
        if (!vSeamRE.empty() || bTwisted)
            mesh.createPatchesOrient();
        SeamSheets sheets(mesh, vSeamRE);
        sheets.decide();
        std::vector<RTriangle*> vScrapT;
        sheets.getScrapT(vScrapT);
        for (RTriangle* pRT : vScrapT)
            pRT->kill(&mesh);
        report.numRemovedT += vScrapT.size();
        const size_t numVtxBefore = mesh.getNumVtx();
        FanSplitter splitter(mesh, sheets.getJoints());
        split(splitter, sheets.getSeams());
        std::vector<Point3*> vVtx = vBadVtx;
        appendVtxFrom(numVtxBefore, vVtx);
        splitInseparable(selectOverfull(edgesAt(mesh, vVtx)), splitter, sheets.getJoints());
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
    void splitInseparable(const std::vector<REdge*>& vStillRE, const FanSplitter& splitter,
                          const EdgeJoints& joints)
    {
        const size_t numBefore = mesh.getAllT().size();
        for (const REdge* pRE : vStillRE) {
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
        if (!bTwisted || findTwistedRE(mesh).empty())
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
    std::vector<Point3*> vBadVtx;    // with MORE_FANS, by number
    std::vector<Point3*> vPillowVtx; // by number
    bool bTwisted = false;           // some edge is or was
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
