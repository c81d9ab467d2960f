#include "RMesh.h"

#include "CollapseQueue.h"
#include "Progress.h"
#include "colorDistance.h"
#include "freeFunctions.h"
#include "messages.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

// ---- The cost of one collapse ----

// The fans of the last two vertices: edges that are judged one after the other often meet in one, and each is
// judged in both directions.
class RecentFans
{
public:
    MovingFan& fanAt(const RMesh& mesh, const Point3* pSrc)
    {
        if (aFans[last].getSrc() == pSrc)
            return aFans[last];
        last = 1 - last;
        if (aFans[last].getSrc() != pSrc)
            aFans[last].set(mesh, pSrc);
        return aFans[last];
    }

    // Whenever the mesh has changed.
    void forget()
    {
        for (MovingFan& fan : aFans)
            fan.forget();
    }

private:
    MovingFan aFans[2];
    int last = 0;
};

// Judges collapses by the limits of one reduction. Reads the mesh only, so many threads may share it, each
// with fans of its own.
class CollapseJudge
{
public:
    CollapseJudge(const RMesh& mesh_, double maxSqLen_, double maxAngleRad_)
        : mesh(mesh_), maxSqLen(maxSqLen_), maxAngleRad(maxAngleRad_)
    {
    }

    // Colours are converted once for the whole reduction, not once per edge.
    void cacheColors()
    {
        if (!mesh.hasColor())
            return;
        vLab.resize(mesh.getNumVtx());
        forRangeMT(vLab.size(), [this](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                vLab[i] = toLab(*mesh.getVtx(i));
        });
    }

    // As RMesh::getCollapsePenalty. numDegenerate grows by the triangles that could not be judged.
    double getPenalty(const REdge* pRE, int dir, RecentFans& fans, size_t& numDegenerate) const;

private:
    double colorTerm(const Point3* p0, const Point3* p1) const
    {
        if (!p0->hasColor() && !p1->hasColor())
            return 0.0;
        return vLab.empty() ? colorDistance(*p0, *p1) : colorDistance(vLab[numberOf(p0)], vLab[numberOf(p1)]);
    }

    const RMesh& mesh;
    const double maxSqLen;
    const double maxAngleRad;
    std::vector<LabColor> vLab; // by vertex number; empty: not cached
};

// The order of the tests is by price; each can only forbid.
double CollapseJudge::getPenalty(const REdge* pRE, int dir, RecentFans& fans, size_t& numDegenerate) const
{
    constexpr double WEIGHT_ANGLE = 100.0;
    constexpr double WEIGHT_COLOR = 100.0;
    if (!pRE->isAlive())
        return COLLAPSE_FORBIDDEN;
    const Point3* pSrc = pRE->getVertex(dir);
    const Point3* pTrg = pRE->getVertex(1 - dir);
    const double sqLen = sqDistance(*pSrc, *pTrg);
    if (sqLen > maxSqLen)
        return COLLAPSE_FORBIDDEN;
    const double lenTerm = std::sqrt(std::sqrt(sqLen) / mesh.getCellSize());
    const double color = colorTerm(pSrc, pTrg);
    if (color > std::min(1.0, 1.0 / lenTerm))
        return COLLAPSE_FORBIDDEN;

    MovingFan& fan = fans.fanAt(mesh, pSrc);
    const TurnedTriangles turned = fan.turn(pTrg, *pTrg, maxAngleRad);
    numDegenerate += turned.numDegenerate;
    if (!turned.bAllowed || turned.numDying == 0 || fan.isPinchedBy(mesh, pTrg))
        return COLLAPSE_FORBIDDEN;
    const double meanAngleRad = turned.numTurned == 0 ? 0.0 : turned.angleSumRad / turned.numTurned;
    const double penalty = WEIGHT_ANGLE * meanAngleRad + lenTerm + WEIGHT_COLOR * color;
    return penalty < COLLAPSE_FORBIDDEN ? penalty : COLLAPSE_FORBIDDEN; // not what is no number either
}

constexpr const char* TEXT_DEGENERATE = "current triangle is degenerate";

// The candidates of the edges in both directions, in their order. Returns the number of degenerate triangles
// that were met: workers write no messages.
size_t collectCandidates(const CollapseJudge& judge, const std::vector<REdge*>& vEdges,
                         std::vector<RECollapse>& vOut)
{
    std::atomic<size_t> numDegenerate = 0;
    vOut.assign(2 * vEdges.size(), RECollapse());
    forRangeMT(vEdges.size(), [&](size_t begin, size_t end) {
        RecentFans fans;
        size_t numHere = 0;
        for (size_t i = begin; i < end; ++i)
            for (int dir = 0; dir < 2; ++dir) {
                const double penalty = judge.getPenalty(vEdges[i], dir, fans, numHere);
                if (penalty != COLLAPSE_FORBIDDEN)
                    vOut[2 * i + size_t(dir)] = {vEdges[i], dir, penalty};
            }
        numDegenerate += numHere;
    });
    vOut.erase(std::remove_if(vOut.begin(), vOut.end(), [](const RECollapse& c) { return c.pRE == nullptr; }),
               vOut.end());
    return numDegenerate;
}

// The edge of a candidate and its direction in one number.
using Slot = std::uint32_t;

Slot slotOf(const REdge* pRE, int dir)
{
    return 2 * numberOf(pRE) + static_cast<Slot>(dir);
}

// ---- The reduction ----

// One run over a mesh. A penalty depends on the triangles at the two endpoints alone, and a collapse changes
// those at the corners of the moved triangles alone. Each vertex knows the last collapse that did so; a
// penalty that is younger is still right and need not be computed again.
class Reducer
{
public:
    Reducer(RMesh& mesh_, double maxSqLen, double maxAngleRad)
        : mesh(mesh_), judge(mesh_, maxSqLen, maxAngleRad), vBorder(mesh_.getNumVtx(), false),
          vChangedAt(mesh_.getNumVtx(), 1), vRatings(2 * mesh_.getAllRE().size())
    {
        zanAssert(mesh_.getAllRE().size() <= std::numeric_limits<Slot>::max() / 2);
    }

    size_t run()
    {
        markBorder();
        fillQueue();
        processQueue();
        if (numDegenerate > 0)
            messageStream() << TEXT_DEGENERATE << ", " << numDegenerate << " times\n";
        return numRemoved;
    }

private:
    void markBorder();
    void fillQueue();
    void processQueue();

    void openQueuePhase();
    double freshPenalty(const REdge* pRE, int dir);
    bool mayLeave(const Point3* pSrc, const REdge* pRE);
    void collapse(const REdge* pRE, Point3* pSrc, Point3* pTrg);
    bool needsRefill() const;
    void refill();
    void refillAll();
    void refillAroundCollapses();

    bool isFresh(const REdge* pRE, int dir) const;
    void rate(const std::vector<REdge*>& vEdges);
    void store(Slot slot, double penalty);
    void appendCandidates(const REdge* pRE, std::vector<CollapseQueue::Entry>& vNew);
    bool mustInsert(Slot slot);
    void surfaceCopy(const CollapseQueue::Entry& entry);

    // In one place, for each look at a slot waits for memory.
    struct Rating {
        double penalty = COLLAPSE_FORBIDDEN; // the last one computed
        std::uint32_t ratedAt = 0;           // numCollapses when that was; 0: never
        std::uint16_t numWaiting = 0;        // entries with that penalty; see mustInsert
    };

    RMesh& mesh;
    CollapseJudge judge;
    CollapseQueue queue;
    std::vector<bool> vBorder;             // by vertex: was on a border at the start
    std::uint32_t numCollapses = 1;        // 1 more than there have been
    std::vector<std::uint32_t> vChangedAt; // by vertex: numCollapses after the last change of its triangles
    std::vector<Rating> vRatings;          // by slot
    std::vector<Point3*> vRefillVtx;       // targets of the collapses since the last refill
    int numFullRefills = 0;
    size_t numRemoved = 0;
    size_t numDegenerate = 0;
    Progress* pProgress = nullptr;

    RecentFans fans; // working memory, as what follows
    std::vector<RTriangle*> vSrcT;
    std::vector<REdge*> vSrcRE;
    std::vector<RECollapse> vCandidates;
};

void Reducer::markBorder()
{
    Progress* pPhase = getRootProgress()->getChildProgressSetTodo("RM_redborder", 2);
    for (const REdge* pRE : mesh.getAllRE())
        if (pRE->isBorder())
            for (int i = 0; i < 2; ++i)
                vBorder[numberOf(pRE->getVertex(i))] = true;
    pPhase->finish(true);
}

void Reducer::fillQueue()
{
    Progress* pPhase = getRootProgress()->getChildProgressSetTodo("RM_redprioq", 2);
    judge.cacheColors();
    pPhase->tick();
    refillAll();
    pPhase->finish(true);
}

void Reducer::processQueue()
{
    // An entry whose penalty has risen beyond this waits for its new place; less is not worth the trouble.
    constexpr double MAX_CHEAP = 2.0;
    constexpr double MAX_RISE = 3.0;
    openQueuePhase();
    while (!queue.empty()) {
        const CollapseQueue::Entry entry = queue.pop();
        surfaceCopy(entry);
        REdge* pRE = mesh.getAllRE()[entry.slot / 2];
        const int dir = static_cast<int>(entry.slot % 2);
        const double fresh = freshPenalty(pRE, dir);
        if (fresh != COLLAPSE_FORBIDDEN && fresh > MAX_CHEAP && fresh > entry.penalty + MAX_RISE) {
            if (mustInsert(entry.slot))
                queue.push(fresh, entry.slot);
            continue;
        }
        pProgress->tick();
        if (fresh == COLLAPSE_FORBIDDEN || !mayLeave(pRE->getVertex(dir), pRE))
            continue;
        collapse(pRE, pRE->getVertex(dir), pRE->getVertex(1 - dir));
        if (needsRefill())
            refill();
    }
    pProgress->finish(true);
}

void Reducer::openQueuePhase()
{
    pProgress =
        getRootProgress()->getChildProgressSetTodo("RM_redprocprioq", queue.size() + queue.size() / 2);
}

double Reducer::freshPenalty(const REdge* pRE, int dir)
{
    if (!pRE->isAlive()) // most often so: a collapse leaves up to three dead edges with their entries
        return COLLAPSE_FORBIDDEN;
    const Slot slot = slotOf(pRE, dir);
    if (!isFresh(pRE, dir)) {
        fans.forget();
        store(slot, judge.getPenalty(pRE, dir, fans, numDegenerate));
    }
    return vRatings[slot].penalty;
}

// A border vertex goes along the border only, and only where that runs straight.
bool Reducer::mayLeave(const Point3* pSrc, const REdge* pRE)
{
    constexpr double MIN_STRAIGHT_DEG = 170.0;
    if (!vBorder[numberOf(pSrc)])
        return true;
    if (!pRE->isBorder())
        return false;
    Vector3 aAlong[2];
    int numBorderRE = 0;
    mesh.getIncidentRE(pSrc, vSrcRE);
    for (const REdge* pSrcRE : vSrcRE) {
        if (!pSrcRE->isBorder())
            continue;
        if (numBorderRE == 2)
            return false;
        aAlong[numBorderRE++] = normalize(*pSrcRE->getOtherPoint(pSrc) - *pSrc);
    }
    return numBorderRE == 2 && aAlong[0].isNV() && aAlong[1].isNV() &&
           getAngleDegree(aAlong[0], aAlong[1]) >= MIN_STRAIGHT_DEG;
}

void Reducer::collapse(const REdge* pRE, Point3* pSrc, Point3* pTrg)
{
    numRemoved += static_cast<size_t>(pRE->getDegree());
    ++numCollapses;
    vSrcT.clear();
    mesh.getIncidentT(pSrc, vSrcT);
    for (const RTriangle* pRT : vSrcT)
        for (int ici = 0; ici < 3; ++ici)
            vChangedAt[numberOf(pRT->getCorner(ici))] = numCollapses;
    mesh.exchangeCorner(pSrc, pTrg);
    vRefillVtx.push_back(pTrg);
}

// Cheap collapses are left to the running queue; where they get dear, new candidates come in early.
bool Reducer::needsRefill() const
{
    constexpr size_t MANY = 5001;
    constexpr size_t MANY_WHERE_DEAR = 51;
    constexpr double DEAR = 6.0;
    const size_t num = vRefillVtx.size();
    return queue.empty() || num >= MANY || (num >= MANY_WHERE_DEAR && queue.top().penalty > DEAR);
}

void Reducer::refill()
{
    constexpr size_t MIN_FOR_ALL = 3;
    constexpr size_t TOO_MANY_FOR_ALL = 1000; // then the queue is full enough
    constexpr int MAX_FULL_REFILLS = 4;
    const size_t num = vRefillVtx.size();
    if (num >= MIN_FOR_ALL && num < TOO_MANY_FOR_ALL && ++numFullRefills <= MAX_FULL_REFILLS)
        refillAll();
    else
        refillAroundCollapses();
    vRefillVtx.clear();
    openQueuePhase();
}

void Reducer::refillAll()
{
    constexpr size_t BLOCK_SIZE = 1 << 18; // bounds the memory for candidates
    std::vector<CollapseQueue::Entry> vNew;
    std::vector<REdge*> vStaleRE;
    const std::vector<REdge*>& vAllRE = mesh.getAllRE();
    for (size_t begin = 0; begin < vAllRE.size(); begin += BLOCK_SIZE) {
        const size_t end = std::min(begin + BLOCK_SIZE, vAllRE.size());
        vStaleRE.clear();
        for (size_t i = begin; i < end; ++i)
            if (vAllRE[i]->isAlive() && !(isFresh(vAllRE[i], 0) && isFresh(vAllRE[i], 1)))
                vStaleRE.push_back(vAllRE[i]);
        rate(vStaleRE);
        for (size_t i = begin; i < end; ++i)
            if (vAllRE[i]->isAlive())
                appendCandidates(vAllRE[i], vNew);
    }
    queue.insert(std::move(vNew));
}

void Reducer::refillAroundCollapses()
{
    sortUniqueByNumber(vRefillVtx);
    std::vector<REdge*> vNearRE;
    std::vector<REdge*> vStaleRE; // by vertex: its edges are rated from the same triangles
    for (const Point3* pVtx : vRefillVtx) {
        mesh.getIncidentRE(pVtx, vSrcRE);
        vNearRE.insert(vNearRE.end(), vSrcRE.begin(), vSrcRE.end());
        std::copy_if(vSrcRE.begin(), vSrcRE.end(), std::back_inserter(vStaleRE),
                     [this](const REdge* pRE) { return !(isFresh(pRE, 0) && isFresh(pRE, 1)); });
    }
    rate(vStaleRE);
    sortUniqueByNumber(vNearRE);
    std::vector<CollapseQueue::Entry> vNew;
    for (const REdge* pRE : vNearRE)
        appendCandidates(pRE, vNew);
    queue.insert(std::move(vNew));
}

bool Reducer::isFresh(const REdge* pRE, int dir) const
{
    const std::uint32_t ratedAt = vRatings[slotOf(pRE, dir)].ratedAt;
    return ratedAt >= vChangedAt[numberOf(pRE->getVtx0())] && ratedAt >= vChangedAt[numberOf(pRE->getVtx1())];
}

void Reducer::rate(const std::vector<REdge*>& vEdges)
{
    numDegenerate += collectCandidates(judge, vEdges, vCandidates);
    auto next = vCandidates.begin();
    for (const REdge* pRE : vEdges)
        for (int dir = 0; dir < 2; ++dir) {
            const bool bPermitted = next != vCandidates.end() && next->pRE == pRE && next->dir == dir;
            store(slotOf(pRE, dir), bPermitted ? (next++)->penalty : COLLAPSE_FORBIDDEN);
        }
}

void Reducer::store(Slot slot, double penalty)
{
    Rating& rating = vRatings[slot];
    if (penalty != rating.penalty)
        for (; rating.numWaiting > 0; --rating.numWaiting)
            if (rating.numWaiting > 1) // the first is in the queue
                queue.push(rating.penalty, slot);
    rating.penalty = penalty;
    rating.ratedAt = numCollapses;
}

void Reducer::appendCandidates(const REdge* pRE, std::vector<CollapseQueue::Entry>& vNew)
{
    for (int dir = 0; dir < 2; ++dir)
        if (const Slot slot = slotOf(pRE, dir); mustInsert(slot))
            vNew.push_back({vRatings[slot].penalty, slot, 0});
}

// True if an entry for the slot has to go into the queue under its last penalty. While one is there, equal
// ones are only counted: each full refill offers every edge again, and they would fill the memory.
bool Reducer::mustInsert(Slot slot)
{
    constexpr std::uint16_t MAX_WAITING = std::numeric_limits<std::uint16_t>::max();
    Rating& rating = vRatings[slot];
    if (rating.penalty == COLLAPSE_FORBIDDEN)
        return false;
    if (rating.numWaiting == MAX_WAITING)
        return true;
    return ++rating.numWaiting == 1;
}

// The next of the counted entries takes the place of the one that has come to the top.
void Reducer::surfaceCopy(const CollapseQueue::Entry& entry)
{
    Rating& rating = vRatings[entry.slot];
    if (rating.numWaiting > 0 && entry.penalty == rating.penalty && --rating.numWaiting > 0)
        queue.push(entry.penalty, entry.slot);
}

} // namespace

// ---- The mesh's interface to it ----

double RMesh::getCollapsePenalty(const REdge* pRE, int dir, double maxSqLen, double maxAngleRad,
                                 std::vector<RTriangle*>& vSrcT) const
{
    size_t numDegenerate = 0;
    RecentFans fans;
    vSrcT.clear();
    getIncidentT(pRE->getVertex(dir), vSrcT);
    const double penalty =
        CollapseJudge(*this, maxSqLen, maxAngleRad).getPenalty(pRE, dir, fans, numDegenerate);
    for (; numDegenerate > 0; --numDegenerate)
        messageStream() << TEXT_DEGENERATE << '\n';
    return penalty;
}

RECollapse RMesh::createCollapse(REdge* pRE, int dir, double maxSqLen, double maxAngleRad) const
{
    std::vector<RTriangle*> vSrcT;
    const double penalty = getCollapsePenalty(pRE, dir, maxSqLen, maxAngleRad, vSrcT);
    return penalty == COLLAPSE_FORBIDDEN ? RECollapse() : RECollapse{pRE, dir, penalty};
}

void RMesh::getCollapseCandidates_MT(double maxAngleRad, double maxSqLen, const std::vector<REdge*>& vEdges,
                                     std::vector<RECollapse>& vOut) const
{
    CollapseJudge judge(*this, maxSqLen, maxAngleRad);
    judge.cacheColors();
    const size_t numDegenerate = collectCandidates(judge, vEdges, vOut);
    for (size_t i = 0; i < numDegenerate; ++i)
        messageStream() << TEXT_DEGENERATE << '\n';
}

int RMesh::reduce(double maxSqLen, double maxAngleDeg)
{
    const StageTimer stage("RM_reduce");
    if (std::isnan(maxSqLen) || std::isnan(maxAngleDeg)) {
        ZAN_WARNING("a limit is no number, nothing is reduced");
        return 0;
    }
    const size_t numRemoved = Reducer(*this, maxSqLen, maxAngleDeg * RADIANS_PER_DEGREE).run();
    return static_cast<int>(std::min<size_t>(numRemoved, std::numeric_limits<int>::max()));
}

} // namespace TESK_ZAN
