#include "twistCut.h"

#include "REdge.h"
#include "RTriangle.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace TESK_ZAN
{

namespace
{

using Index = std::uint32_t;

constexpr Index NONE = std::numeric_limits<Index>::max();
constexpr int MAX_SEARCHES = 20; // a single passage takes fewer
constexpr size_t NUM_SEEDS = 7;
constexpr size_t BALL_PART = 3; // the ball takes at most this part of the surface

// The surface twice, once as it is and once turned: node 2 t + s is triangle t as it is or turned. Neighbours
// that agree are joined among equals, others across. An orientation is a choice of one node for each
// triangle; the edges along which it disagrees separate the chosen nodes from the others. So the fewest are a
// least cut, between a piece of surface (the ball) as it is and the same piece turned, which is found as a
// greatest flow.
class DoubleCover
{
public:
    explicit DoubleCover(const std::vector<RTriangle*>& vRT_) : vRT(vRT_), vWays(3 * vRT_.size())
    {
        std::vector<Index> vIndexOfT;
        for (size_t i = 0; i < vRT.size(); ++i) {
            const size_t number = numberOf(vRT[i]);
            vIndexOfT.resize(std::max(vIndexOfT.size(), number + 1), NONE);
            vIndexOfT[number] = static_cast<Index>(i);
        }
        for (size_t i = 0; i < vRT.size(); ++i)
            for (int ici = 0; ici < 3; ++ici) {
                REdge* pRE = vRT[i]->getRE(ici);
                const RTriangle* pNeig = pRE->getDegree() == 2 ? pRE->getOtherT(vRT[i]) : nullptr;
                if (pNeig != nullptr)
                    vWays[3 * i + size_t(ici)] = {
                        vIndexOfT[numberOf(pNeig)],
                        static_cast<std::uint8_t>(pNeig->getICI(pRE->getVtx0(), pRE->getVtx1())),
                        vRT[i]->needFlip(pNeig)};
            }
    }

    bool cut(size_t maxEdges, std::vector<RTriangle*>& vLooseT)
    {
        if (!growBall(2 * maxEdges))
            return false;
        const size_t limit = std::min(maxEdges + 1, ballRim);
        vFlow.assign(2 * vWays.size(), 0);
        size_t flow = 0;
        for (int search = 0; findLevels(); ++search) {
            if (search == MAX_SEARCHES)
                return false;
            flow += pushAlongLevels(limit - flow);
            if (flow >= limit)
                return false;
        }
        turnUnreached(vLooseT);
        return true;
    }

private:
    struct Way {
        Index to = NONE;
        std::uint8_t slot = 0; // of the way back
        bool bTwisted = false;
    };

    // The way out of a node over its edge ici, and the node and the way back at its end.
    size_t wayOf(size_t node, size_t ici) const { return 3 * (node / 2) + ici; }
    size_t flowOf(size_t node, size_t ici) const { return 2 * wayOf(node, ici) + node % 2; }
    size_t endOf(size_t node, size_t ici) const
    {
        const Way& way = vWays[wayOf(node, ici)];
        return 2 * size_t{way.to} + (node % 2 ^ size_t{way.bTwisted});
    }
    bool isOpen(size_t node, size_t ici) const
    {
        return vWays[wayOf(node, ici)].to != NONE && vFlow[flowOf(node, ici)] < 1;
    }

    // A piece of surface in one orientation, with at least minRim edges around it where it can be had.
    bool growBall(size_t minRim)
    {
        for (size_t seed = 1; seed < NUM_SEEDS; ++seed)
            if (growBallFrom(vRT.size() * seed / NUM_SEEDS, minRim))
                return true;
        return false;
    }

    bool growBallFrom(size_t seed, size_t minRim)
    {
        vInBall.assign(2 * vRT.size(), 0);
        vBall.assign(1, 2 * seed);
        vInBall[2 * seed] = 1;
        ballRim = 3;
        for (size_t numDone = 0; numDone < vBall.size() && vBall.size() < vRT.size() / BALL_PART; ++numDone) {
            if (ballRim >= minRim)
                return true;
            for (size_t ici = 0; ici < 3; ++ici)
                if (vWays[wayOf(vBall[numDone], ici)].to != NONE && !addToBall(endOf(vBall[numDone], ici)))
                    return false;
        }
        return ballRim > 3;
    }

    bool addToBall(size_t node)
    {
        if (vInBall[node ^ 1] != 0)
            return false;
        if (vInBall[node] != 0)
            return true;
        vInBall[node] = 1;
        vBall.push_back(node);
        ballRim += 3;
        for (size_t ici = 0; ici < 3; ++ici)
            if (vWays[wayOf(node, ici)].to == NONE)
                --ballRim;
            else if (vInBall[endOf(node, ici)] != 0)
                ballRim -= 2;
        return true;
    }

    // Numbers the nodes by their distance from the ball over open ways, up to that of the turned ball; true
    // if it is reached.
    bool findLevels()
    {
        vLevel.assign(2 * vRT.size(), NONE);
        vQueue = vBall;
        for (const size_t node : vBall)
            vLevel[node] = 0;
        Index last = NONE;
        for (size_t numDone = 0; numDone < vQueue.size() && vLevel[vQueue[numDone]] < last; ++numDone) {
            const size_t node = vQueue[numDone];
            for (size_t ici = 0; ici < 3; ++ici) {
                if (!isOpen(node, ici) || vLevel[endOf(node, ici)] != NONE)
                    continue;
                const size_t end = endOf(node, ici);
                vLevel[end] = vLevel[node] + 1;
                vQueue.push_back(end);
                if (vInBall[end ^ 1] != 0)
                    last = vLevel[end];
            }
        }
        return last != NONE;
    }

    // Each node tries each of its ways once.
    size_t pushAlongLevels(size_t limit)
    {
        vNextIci.assign(2 * vRT.size(), 0);
        size_t flow = 0;
        for (const size_t start : vBall)
            while (flow < limit && pushFrom(start))
                ++flow;
        return flow;
    }

    bool pushFrom(size_t start)
    {
        vPath.assign(1, start);
        while (!vPath.empty()) {
            const size_t node = vPath.back();
            if (vInBall[node ^ 1] != 0) {
                for (size_t i = 0; i + 1 < vPath.size(); ++i)
                    addFlow(vPath[i], vNextIci[vPath[i]]);
                return true;
            }
            std::uint8_t& ici = vNextIci[node];
            while (ici < 3 && !(isOpen(node, ici) && vLevel[endOf(node, ici)] == vLevel[node] + 1))
                ++ici;
            if (ici < 3) {
                vPath.push_back(endOf(node, ici));
                continue;
            }
            vPath.pop_back();
            if (!vPath.empty())
                ++vNextIci[vPath.back()];
        }
        return false;
    }

    void addFlow(size_t node, size_t ici)
    {
        ++vFlow[flowOf(node, ici)];
        --vFlow[flowOf(endOf(node, ici), vWays[wayOf(node, ici)].slot)];
    }

    // What the last search has reached is chosen. A triangle of which neither node was reached is loose: it
    // lies in a part that hangs on the rest by fewer edges than it would take to cut it open.
    void turnUnreached(std::vector<RTriangle*>& vLooseT)
    {
        for (size_t i = 0; i < vRT.size(); ++i) {
            if (vLevel[2 * i] != NONE)
                continue;
            if (vLevel[2 * i + 1] != NONE)
                vRT[i]->flipOrientation();
            else
                vLooseT.push_back(vRT[i]);
        }
    }

    const std::vector<RTriangle*>& vRT;
    std::vector<Way> vWays;             // three for each triangle
    std::vector<std::int8_t> vFlow;     // from -1 to 1, of each way for both nodes
    std::vector<char> vInBall;          // by node
    std::vector<size_t> vBall;          // nodes
    size_t ballRim = 0;                 // edges around the ball
    std::vector<Index> vLevel;          // by node
    std::vector<std::uint8_t> vNextIci; // by node
    std::vector<size_t> vQueue;         // scratch
    std::vector<size_t> vPath;          // scratch
};

} // namespace

bool orientByShortestCut(const std::vector<RTriangle*>& vRT, size_t maxEdges,
                         std::vector<RTriangle*>& vLooseT)
{
    return DoubleCover(vRT).cut(2 * maxEdges, vLooseT); // each edge of the line is one of the surface twice
}

} // namespace TESK_ZAN
