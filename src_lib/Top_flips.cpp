#include "Top.h"

#include "CMesh.h"
#include "Calc.h"
#include "EdgeEnergy.h"
#include "freeFunctions.h"
#include "messages.h"
#include "sortMT.h"
#include "zanAssert.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

constexpr double MIN_GAIN = 0.01;          // of edgeFlips: less is not worth a flip
constexpr double MAX_FLIP_ANGLE = 120.0;   // degrees between the normals of a pair that canFlip lets through
constexpr double MAX_COLLINEAR_BEND = 0.2; // degrees
constexpr double MIN_CAP_ANGLE = 170.0;    // degrees: an inner angle that makes a cap
constexpr double MAX_COLLAPSE_TURN = 5.0;  // degrees by which a collapse may turn a triangle
constexpr double MIN_COLLAPSE_NORMAL = 1e-10;
constexpr int NUM_FEATURE_TURNS = 3;
constexpr int FEW_COLLAPSES = 11; // below this simplify is done

// A square of four cells in a plane of the grid that is covered along the diagonal of an edge and has the
// other diagonal (a, b) as well.
struct DoubleSquare {
    CTriangle* pT0;
    CTriangle* pT1;
    u64 a, b; // the corners opposite the edge
};

bool agreeOnAxis(u64 p, u64 q, int axis)
{
    constexpr u64 MASK[3] = {CCD_X, CCD_Y, CCD_Z};
    return ((p ^ q) & MASK[axis]) == 0;
}

bool findDoubleSquare(const CMesh* pMesh, const CEdge* pCE, DoubleSquare& square)
{
    if (pCE->getDegree() != 2)
        return false;
    const u64 v0 = pCE->getV0(), v1 = pCE->getV1();
    const int axis = Calc::getUniqueSameComponent(v0, v1);
    if (axis < 0)
        return false;
    pCE->getTwoTriangles(square.pT0, square.pT1, true);
    square.a = square.pT0->getThirdCCD(v0, v1);
    square.b = square.pT1->getThirdCCD(v0, v1);
    return square.a != square.b && Calc::getUniqueSameComponent(square.a, square.b) == axis &&
           agreeOnAxis(v0, square.a, axis) && pMesh->hasEdge(square.a, square.b);
}

// The edges with a double square, by their ends.
void getDoubleSquares(const CMesh* pMesh, std::vector<CEdge*>& vCE)
{
    const std::vector<CEdge*>& vAllE = pMesh->getE();
    std::vector<char> vIsDouble;
    transformMT(vAllE, vIsDouble, [pMesh](const CEdge* pCE) {
        DoubleSquare square;
        return char{findDoubleSquare(pMesh, pCE, square)};
    });
    for (std::size_t i = 0; i < vAllE.size(); ++i)
        if (vIsDouble[i])
            vCE.push_back(vAllE[i]);
    std::sort(vCE.begin(), vCE.end(), lessByEnds);
}

// By improvement, greatest first; equal ones in order of entry.
struct QueuedFlip {
    double improvement;
    u64 sequence;
    CEdge* pCE;
};

bool comesLater(const QueuedFlip& x, const QueuedFlip& y)
{
    return x.improvement != y.improvement ? x.improvement < y.improvement : x.sequence > y.sequence;
}

class FlipQueue
{
public:
    void push(double improvement, CEdge* pCE)
    {
        vHeap.push_back({improvement, numPushed++, pCE});
        std::push_heap(vHeap.begin(), vHeap.end(), comesLater);
    }
    bool empty() const { return vHeap.empty(); }
    QueuedFlip pop()
    {
        std::pop_heap(vHeap.begin(), vHeap.end(), comesLater);
        const QueuedFlip first = vHeap.back();
        vHeap.pop_back();
        return first;
    }

private:
    std::vector<QueuedFlip> vHeap;
    u64 numPushed = 0;
};

// False if the vector is too short for a direction.
bool getUnit(const Vector3& vec, Vector3& nv)
{
    if (!(vec.sqLength() > 0.0))
        return false;
    nv = normalize(vec);
    return nv.isNV();
}

// The largest inner angle of a triangle, in degrees, and the corner where it is; 0.0 if two corners are at
// one place.
double getLargestAngle(const CMesh* pMesh, const u64 ccd[3], int& ici)
{
    double largest = 0.0;
    for (int i = 0; i < 3; ++i) {
        Vector3 toNext, toPrev;
        const Point3& p = *pMesh->getVtx(ccd[i]);
        if (!getUnit(*pMesh->getVtx(ccd[nextIndex3(i)]) - p, toNext) ||
            !getUnit(*pMesh->getVtx(ccd[prevIndex3(i)]) - p, toPrev))
            return 0.0;
        const double angleDeg = getAngleDegree(toNext, toPrev);
        if (angleDeg > largest) {
            largest = angleDeg;
            ici = i;
        }
    }
    return largest;
}

double getLargestAngle(const CMesh* pMesh, u64 c0, u64 c1, u64 c2)
{
    const u64 ccd[3] = {c0, c1, c2};
    int ici = 0;
    return getLargestAngle(pMesh, ccd, ici);
}

// False if a triangle at the end ccd of the edge that outlives the collapse would turn too far, or vanish,
// when that corner goes to target. Degenerate triangles are not asked.
bool mayMoveEnd(const CMesh* pMesh, const CEdge* pCE, u64 ccd, const Point3& target)
{
    std::vector<CTriangle*> vCT;
    pMesh->getIncidentT(ccd, vCT);
    for (const CTriangle* pCT : vCT) {
        if (pCT->has(pCE->getOtherVCD(ccd)))
            continue; // dies in the collapse
        u64 next, prev;
        pCT->getNextPrev(ccd, next, prev);
        const Point3& base = *pMesh->getVtx(next);
        const Vector3 e1 = *pMesh->getVtx(prev) - base;
        const Vector3 oldNormal = crossProd(e1, *pMesh->getVtx(ccd) - base);
        Vector3 nvOld, nvNew;
        if (!getUnit(oldNormal, nvOld))
            continue;
        const Vector3 newNormal = crossProd(e1, target - base);
        if (!(newNormal.length() >= MIN_COLLAPSE_NORMAL) || !getUnit(newNormal, nvNew) ||
            getAngleDegree(nvOld, nvNew) > MAX_COLLAPSE_TURN)
            return false;
    }
    return true;
}

double sqLength(const CMesh* pMesh, const CEdge* pCE)
{
    return sqDistance(*pMesh->getVtx(pCE->getV0()), *pMesh->getVtx(pCE->getV1()));
}

void enqueueEdgesAt(const CMesh* pMesh, u64 ccd, double sqMax, std::multimap<double, CEdge*>& mmQueue)
{
    std::vector<CEdge*> vCE;
    pMesh->getIncidentCE(ccd, vCE);
    for (CEdge* pCE : vCE) {
        const double sqL = sqLength(pMesh, pCE);
        if (sqL < sqMax)
            mmQueue.emplace(sqL, pCE);
    }
}

bool hasEndIn(const CEdge* pCE, const std::vector<u64>& vSorted)
{
    return std::binary_search(vSorted.begin(), vSorted.end(), pCE->getV0()) ||
           std::binary_search(vSorted.begin(), vSorted.end(), pCE->getV1());
}

// The ends of all edges of degree 1, sorted.
std::vector<u64> getBorderCCD(const CMesh* pMesh)
{
    std::vector<CEdge*> vBorders;
    pMesh->getDegN(1, vBorders);
    std::vector<u64> vBorderCCD;
    for (const CEdge* pCE : vBorders) {
        vBorderCCD.push_back(pCE->getV0());
        vBorderCCD.push_back(pCE->getV1());
    }
    sortUniqueMT(vBorderCCD);
    return vBorderCCD;
}

// The edges inside the surface that are short enough, by squared length.
std::multimap<double, CEdge*> getCollapseQueue(const CMesh* pMesh, double sqMax,
                                               const std::vector<u64>& vBorderCCD)
{
    std::vector<std::pair<double, CEdge*>> vLen2CE;
    for (CEdge* pCE : pMesh->getE()) {
        if (pCE->getDegree() == 0 || hasEndIn(pCE, vBorderCCD))
            continue;
        const double sqL = sqLength(pMesh, pCE);
        if (sqL < sqMax)
            vLen2CE.emplace_back(sqL, pCE);
    }
    sortMT(vLen2CE.begin(), vLen2CE.end(), [](const auto& x, const auto& y) {
        return x.first != y.first ? x.first < y.first : lessByNumber(x.second, y.second);
    });
    return {vLen2CE.begin(), vLen2CE.end()};
}

} // namespace

// ---- squares and degenerate triangles --------------------------------------------------------------------

// The triangles of an extraction on a diagonal lie in one square of cells, and settling a square changes only
// its own two diagonals and edges along an axis. So nothing new can become double on the way, and the few
// edges that are at the start can be sorted alone.
void Top::unifyDiagonals()
{
    std::vector<CEdge*> vCE;
    getDoubleSquares(pMesh, vCE);
    for (const CEdge* pCE : vCE) {
        DoubleSquare square;
        if (!findDoubleSquare(pMesh, pCE, square))
            continue; // settled from the other diagonal
        const u64 vcd = square.pT0->getVCD();
        square.pT0->kill(pMesh);
        square.pT1->kill(pMesh);
        CTriangle* aNew[2] = {pMesh->createTIfMissing(square.a, square.b, pCE->getV0(), vcd, 0),
                              pMesh->createTIfMissing(square.b, square.a, pCE->getV1(), vcd, 0)};
        for (CTriangle* pNew : aNew)
            if (pNew != nullptr && pNew->isAlive() && pNew->isDegenerate(pMesh))
                splitOrMove(pNew, 2, "trySplitNeigsKillT() and laplacianForOne() did not succeed");
    }
}

void Top::killDegenerate()
{
    std::vector<CTriangle*> vCT;
    std::vector<char> vIsDegenerate;
    pMesh->getAliveT(vCT);
    transformMT(vCT, vIsDegenerate, [this](const CTriangle* pCT) { return char{pCT->isDegenerate(pMesh)}; });
    for (std::size_t i = 0; i < vCT.size(); ++i) {
        CTriangle* pCT = vCT[i];
        if (!vIsDegenerate[i] || !pCT->isAlive() || !pCT->isDegenerate(pMesh))
            continue;
        const int ici = pCT->getLargestEdgeICI(pMesh);
        if (pCT->getCEdge(ici)->isBorder())
            pCT->kill(pMesh);
        else
            splitOrMove(pCT, ici, "No success of trySplitNeigsKillT() and laplacianForOne()");
    }
}

// Splits the neighbours over the edge opposite corner ici, or else moves a corner, from this one on.
void Top::splitOrMove(CTriangle* pCT, int ici, const char* warning)
{
    CEdge* pCE = pCT->getCEdge(ici);
    if (pCE->getDegree() < 2)
        messageStream() << "\n pCE->getDegree()=" << pCE->getDegree() << std::endl;
    std::vector<CTriangle*> vKids;
    if (pCE->trySplitNeigsKillT(pMesh, pCT, ici, vKids))
        return;
    for (int i = 0; i < 3; ++i)
        if (pMesh->laplacianForOne(pCT->getCorner((ici + i) % 3)))
            return;
    ZAN_WARNING(warning);
}

// ---- flips by energy -------------------------------------------------------------------------------------

void Top::getEdgesForOptimization(double minAngle, std::vector<CEdge*>& vOut) const
{
    const double minAngleRad = minAngle / 180.0 * 3.14159;
    for (CEdge* pCE : pMesh->getE()) {
        CTriangle* pCT0 = nullptr;
        CTriangle* pCT1 = nullptr;
        if (!pCE->getTwoTriangles(pCT0, pCT1, true))
            continue;
        Vector3 nnv0, nnv1;
        bool bOK0 = false, bOK1 = false;
        pCT0->getNNV(pMesh, nnv0, bOK0);
        pCT1->getNNV(pMesh, nnv1, bOK1);
        if (!bOK0 || !bOK1)
            ZAN_WARNING("No NNV, skipped edge");
        else if (getAngleRad(nnv0, nnv1) > minAngleRad)
            vOut.push_back(pCE);
    }
}

void Top::edgeFlips(double minAngle)
{
    std::vector<CEdge*> vOptimizableEdges;
    getEdgesForOptimization(minAngle, vOptimizableEdges);
    FlipQueue queue;
    for (CEdge* pCE : vOptimizableEdges) {
        const EdgeEnergy ee(pMesh, pCE);
        if (ee.getImprovement() != -DBL_MAX)
            queue.push(ee.getImprovement(), pCE);
    }
    while (!queue.empty()) {
        const QueuedFlip queued = queue.pop();
        CEdge* pFlipEdge = queued.pCE;
        const EdgeEnergy ee(pMesh, pFlipEdge);
        if (ee.getImprovement() <= MIN_GAIN)
            continue; // also what has become impossible
        if (queued.improvement > ee.getImprovement()) {
            queue.push(ee.getImprovement(), pFlipEdge);
            continue;
        }
        zanAssertText(pFlipEdge->getDegree() == 2, "pFlipEdge->getDegree()==2");
        pFlipEdge->flipEdge(pMesh, nullptr, nullptr);
    }
}

// ---- flips by features and angles ------------------------------------------------------------------------

bool Top::canFlip(u64 ccd0, u64 ccd1, u64 alt0, u64 alt1) const
{
    const auto refuse = [](const std::string& reason) {
        messageStream() << reason << ", canFlip() returns false" << std::endl;
        return false;
    };
    if (alt0 != alt1 && pMesh->hasEdge(alt0, alt1))
        return refuse("AltEdge already present");
    if (ccd0 == ccd1 || alt0 == alt1 || ccd0 == alt0 || ccd0 == alt1 || ccd1 == alt0 || ccd1 == alt1)
        return refuse("Duplicate corner");
    if (ccd0 >= ccd1)
        return refuse("ccd0 >= ccd1, should not happen");
    const CEdge* pCE = pMesh->getEdge(ccd0, ccd1);
    if (pCE == nullptr || pCE->getDegree() != 2)
        return refuse("Border edge");
    bool bOK0 = false, bOK1 = false;
    const Vector3 nnv0 = getNormalVector(pMesh, alt0, alt1, ccd1, bOK0);
    const Vector3 nnv1 = getNormalVector(pMesh, alt1, alt0, ccd0, bOK1);
    if (!bOK0 || !bOK1)
        return refuse("New setting would be degenerate");
    const double newAngle = getAngleDegree(nnv0, nnv1);
    if (newAngle >= MAX_FLIP_ANGLE)
        return refuse("newAngle=" + std::to_string(newAngle));
    return true;
}

int Top::countCollinearConnectors(u64 ccd0, u64 ccd1) const
{
    zanAssert(ccd0 != ccd1 && sFeatureCCD.contains(ccd0) && sFeatureCCD.contains(ccd1));
    int numCollinear = 0;
    std::vector<CEdge*> vCE;
    for (const auto& [ccd, ccdOther] : {std::pair(ccd0, ccd1), std::pair(ccd1, ccd0)}) {
        Vector3 along, direction;
        if (!getUnit(*pMesh->getVtx(ccdOther) - *pMesh->getVtx(ccd), along))
            continue;
        vCE.clear();
        pMesh->getIncidentCE(ccd, vCE);
        for (const CEdge* pCE : vCE) {
            const u64 ccdNeig = pCE->getOtherVCD(ccd);
            if (!sFeatureCCD.contains(ccdNeig) ||
                !getUnit(*pMesh->getVtx(ccdNeig) - *pMesh->getVtx(ccd), direction))
                continue;
            if (180.0 - getAngleDegree(along, direction) < MAX_COLLINEAR_BEND)
                ++numCollinear;
        }
    }
    return numCollinear;
}

// The edge pCE goes for one between ccd and ccd2: feature vertices get connected, but no edge between two of
// them is given up unless the new one continues the chains better.
bool Top::isFeatureFlip(const CEdge* pCE, u64 ccd, u64 ccd2) const
{
    if (ccd == ccd2 || !sFeatureCCD.contains(ccd2))
        return false;
    const u64 v0 = pCE->getV0(), v1 = pCE->getV1();
    return !sFeatureCCD.contains(v0) || !sFeatureCCD.contains(v1) ||
           countCollinearConnectors(v0, v1) < countCollinearConnectors(ccd, ccd2);
}

void Top::flipFeatures()
{
    std::vector<CTriangle*> vCT;
    for (int turn = 0; turn < NUM_FEATURE_TURNS; ++turn) {
        messageStream() << "NEW FLIP TURN " << turn << std::endl;
        for (const u64 ccd : sFeatureCCD) {
            vCT.clear();
            pMesh->getIncidentT(ccd, vCT);
            for (CTriangle* pCT : vCT) {
                CEdge* pCE = pCT->isAlive() ? pCT->getCEdge(pCT->getICI(ccd)) : nullptr;
                if (pCE == nullptr || pCE->getDegree() != 2)
                    continue;
                CTriangle* pNeig = pCE->getOtherT(pCT);
                const u64 ccd2 = pNeig->getThirdCCD(pCE->getV0(), pCE->getV1());
                if (isFeatureFlip(pCE, ccd, ccd2) && canFlip(pCE->getV0(), pCE->getV1(), ccd, ccd2))
                    pCE->flipEdge(pMesh, pCT, pNeig);
            }
        }
    }
}

int Top::flipExtremeCaps(bool bRepeat)
{
    int numFlipped = 0, numBefore = 0;
    do {
        numBefore = numFlipped;
        std::vector<CTriangle*> vCT;
        pMesh->getAliveT(vCT);
        for (CTriangle* pCT : vCT)
            if (pCT->isAlive() && flipIfCap(pCT))
                ++numFlipped;
    } while (bRepeat && numFlipped > numBefore);
    return numFlipped;
}

// Flips the edge opposite an angle close to 180 degrees if that leaves no angle as large. The greatest angle
// of the pair falls with each flip, so that repeated flips come to an end.
bool Top::flipIfCap(CTriangle* pCT)
{
    const u64 ccdCorner[3] = {pCT->getC0(), pCT->getC1(), pCT->getC2()};
    int ici = 0;
    const double capAngle = getLargestAngle(pMesh, ccdCorner, ici);
    CEdge* pCE = pCT->getCEdge(ici);
    if (capAngle < MIN_CAP_ANGLE || pCE->getDegree() != 2)
        return false;
    CTriangle* pNeig = pCE->getOtherT(pCT);
    const u64 v0 = pCE->getV0(), v1 = pCE->getV1();
    const u64 ccd = ccdCorner[ici], ccd2 = pNeig->getThirdCCD(v0, v1);
    if (!canFlip(v0, v1, ccd, ccd2) || getLargestAngle(pMesh, ccd, ccd2, v0) >= capAngle ||
        getLargestAngle(pMesh, ccd, ccd2, v1) >= capAngle)
        return false;
    pCE->flipEdge(pMesh, pCT, pNeig);
    return true;
}

// ---- collapses -------------------------------------------------------------------------------------------

bool Top::killMid(CEdge* pCE, const Point3& mid, double sqMax, std::multimap<double, CEdge*>& mmQueue)
{
    const u64 src = pCE->getV0(), trg = pCE->getV1();
    if (pCE->getDegree() == 0 || !pMesh->linkTest(src, trg) || !mayMoveEnd(pMesh, pCE, src, mid) ||
        !mayMoveEnd(pMesh, pCE, trg, mid))
        return false;
    enqueueEdgesAt(pMesh, pMesh->collapseEdgeToMidpoint(pCE), sqMax, mmQueue);
    return true;
}

bool Top::killSingle(CEdge* pCE, int end, double sqMax, std::multimap<double, CEdge*>& mmQueue)
{
    zanAssert(end == 0 || end == 1);
    const u64 src = end == 0 ? pCE->getV0() : pCE->getV1();
    const u64 trg = pCE->getOtherVCD(src);
    if (!mayMoveEnd(pMesh, pCE, src, *pMesh->getVtx(trg)) || !pMesh->collapseEdgeToEndpoint(pCE, src, trg))
        return false;
    enqueueEdgesAt(pMesh, trg, sqMax, mmQueue);
    return true;
}

bool Top::collapse(CEdge* pCE, SimplifyMode mode, double sqMax, std::multimap<double, CEdge*>& mmQueue)
{
    const auto [p0, p1] = pCE->getSegment(pMesh);
    const Point3 mid(0.5 * (p0.x() + p1.x()), 0.5 * (p0.y() + p1.y()), 0.5 * (p0.z() + p1.z()));
    if (mode != SM_SINGLE && killMid(pCE, mid, sqMax, mmQueue))
        return true;
    return mode != SM_MID && (killSingle(pCE, 0, sqMax, mmQueue) || killSingle(pCE, 1, sqMax, mmQueue));
}

bool Top::simplify(int passNo, double maxLen, SimplifyMode mode)
{
    messageStream() << "This is simplify(), passNo " << passNo << std::endl;
    const std::vector<u64> vBorderCCD = getBorderCCD(pMesh);
    const double sqMax = maxLen == DBL_MAX ? DBL_MAX : maxLen * maxLen;
    std::multimap<double, CEdge*> mmQueue = getCollapseQueue(pMesh, sqMax, vBorderCCD);
    int numKilled = 0;
    while (!mmQueue.empty()) {
        const auto [sqLThen, pCE] = *mmQueue.begin();
        mmQueue.erase(mmQueue.begin());
        if (pCE->getDegree() == 0 || hasEndIn(pCE, vBorderCCD))
            continue;
        const double sqL = sqLength(pMesh, pCE);
        if (sqL > sqLThen) { // stale: it has grown
            if (sqL < sqMax)
                mmQueue.emplace(sqL, pCE);
        } else if (collapse(pCE, mode, sqMax, mmQueue)) {
            ++numKilled;
        }
    }
    messageStream() << "passNo: " << passNo << ", numKilled: " << numKilled << std::endl;
    const int num1 = pMesh->killDuplicateTriangles();
    messageStream() << "killDups has killed " << num1 << std::endl;
    const int num2 = pMesh->killDuplicateTriangles();
    messageStream() << "killDups has killed " << num2 << std::endl;
    zanAssertText(num2 == 0, "num2==0");
    return numKilled >= FEW_COLLAPSES || (numKilled > 0 && passNo == 0);
}

} // namespace TESK_ZAN
