#include "sideClues.h"

#include "SideForest.h"

#include <numeric>
#include <tuple>

namespace TESK_ZAN
{

namespace
{

using Index = SideForest::Index;

// The sides with the clues at each of them, which can be outvoted.
class Votes
{
public:
    Votes(const std::vector<SideClue>& vClues_, std::vector<char>& vKind_)
        : vClues(vClues_), vKind(vKind_), vFirst(vKind_.size() + 1, 0)
    {
        for (const SideClue& clue : vClues) {
            ++vFirst[clue.a + 1];
            ++vFirst[clue.b + 1];
        }
        std::partial_sum(vFirst.begin(), vFirst.end(), vFirst.begin());
        vClueAt.resize(vFirst.back());
        std::vector<Index> vNext(vFirst.begin(), vFirst.end() - 1);
        for (Index i = 0; i < vClues.size(); ++i) {
            vClueAt[vNext[vClues[i].a]++] = i;
            vClueAt[vNext[vClues[i].b]++] = i;
        }
    }

    void settle()
    {
        std::vector<Index> vTodo;
        for (const SideClue& clue : vClues)
            if (!agrees(clue))
                vTodo.insert(vTodo.end(), {clue.a, clue.b});
        for (std::size_t done = 0; done < vTodo.size(); ++done) {
            const Index side = vTodo[done];
            if (!isOutvoted(side))
                continue;
            vKind[side] ^= 1;
            for (Index i = vFirst[side]; i < vFirst[side + 1]; ++i) {
                const SideClue& clue = vClues[vClueAt[i]];
                if (!agrees(clue))
                    vTodo.push_back(clue.a == side ? clue.b : clue.a);
            }
        }
    }

private:
    bool agrees(const SideClue& clue) const { return (vKind[clue.a] != vKind[clue.b]) == clue.bDiffer; }

    bool isOutvoted(Index side) const
    {
        std::size_t numFor = 0, numAgainst = 0;
        for (Index i = vFirst[side]; i < vFirst[side + 1]; ++i) {
            const SideClue& clue = vClues[vClueAt[i]];
            if (clue.a != clue.b) // a change makes no difference to a side and itself
                (agrees(clue) ? numFor : numAgainst) += clue.votes();
        }
        return numAgainst > numFor;
    }

    const std::vector<SideClue>& vClues;
    std::vector<char>& vKind;
    std::vector<Index> vFirst; // of the clues at a side, in vClueAt
    std::vector<Index> vClueAt;
};

} // namespace

void countEqualClues(std::vector<SideClue>& vClues)
{
    std::sort(vClues.begin(), vClues.end(),
              [](const SideClue& x, const SideClue& y) { return std::tie(x.a, x.b) < std::tie(y.a, y.b); });
    std::size_t numKept = 0;
    for (const SideClue& clue : vClues)
        if (numKept > 0 && vClues[numKept - 1].a == clue.a && vClues[numKept - 1].b == clue.b)
            vClues[numKept - 1].weight += clue.weight;
        else
            vClues[numKept++] = clue;
    vClues.resize(numKept);
}

std::vector<char> decideKinds(std::size_t numSides, const std::vector<SideClue>& vClues)
{
    std::vector<Index> vOrder(vClues.size());
    std::iota(vOrder.begin(), vOrder.end(), Index(0));
    std::stable_sort(vOrder.begin(), vOrder.end(),
                     [&](Index x, Index y) { return vClues[x].weight > vClues[y].weight; });
    SideForest forest(numSides);
    for (const Index i : vOrder) {
        const SideClue& clue = vClues[i];
        const SideForest::Root a = forest.find(clue.a), b = forest.find(clue.b);
        if (a.index != b.index)
            forest.attach(a.index, b.index, (a.bTurned != b.bTurned) != clue.bDiffer);
    }
    std::vector<char> vKind(numSides);
    for (Index side = 0; side < numSides; ++side)
        vKind[side] = forest.find(side).bTurned ? 1 : 0;
    Votes(vClues, vKind).settle();
    return vKind;
}

} // namespace TESK_ZAN
