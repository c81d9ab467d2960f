#include "CollapseQueue.h"

#include "sortMT.h"
#include "zanAssert.h"

#include <algorithm>
#include <utility>

namespace TESK_ZAN
{

namespace
{

struct ComesBefore {
    bool operator()(const CollapseQueue::Entry& e0, const CollapseQueue::Entry& e1) const
    {
        return e0.penalty != e1.penalty ? e0.penalty < e1.penalty : e0.sequence < e1.sequence;
    }
};

struct ComesLater { // a heap has the greatest element in front
    bool operator()(const CollapseQueue::Entry& e0, const CollapseQueue::Entry& e1) const
    {
        return ComesBefore()(e1, e0);
    }
};

} // namespace

// The run whose top comes first; null if that of the heap does.
const CollapseQueue::Run* CollapseQueue::firstRun() const
{
    const Entry* pBest = vHeap.empty() ? nullptr : &vHeap.front();
    const Run* pFirst = nullptr;
    for (const Run& run : vRuns) {
        if (pBest != nullptr && !ComesBefore()(run.top(), *pBest))
            continue;
        pBest = &run.top();
        pFirst = &run;
    }
    return pFirst;
}

const CollapseQueue::Entry& CollapseQueue::top() const
{
    const Run* pFirst = firstRun();
    return pFirst == nullptr ? vHeap.front() : pFirst->top();
}

CollapseQueue::Entry CollapseQueue::pop()
{
    zanAssert(!empty());
    --numEntries;
    if (const Run* pFirst = firstRun()) {
        const auto pos = vRuns.begin() + (pFirst - vRuns.data());
        const Entry entry = pos->vSorted[pos->next++];
        if (pos->size() == 0)
            vRuns.erase(pos);
        return entry;
    }
    std::pop_heap(vHeap.begin(), vHeap.end(), ComesLater());
    const Entry entry = vHeap.back();
    vHeap.pop_back();
    return entry;
}

void CollapseQueue::push(double penalty, std::uint32_t slot)
{
    if (numInserted == maxSequence)
        renumber();
    vHeap.push_back({penalty, slot, numInserted++});
    std::push_heap(vHeap.begin(), vHeap.end(), ComesLater());
    ++numEntries;
}

void CollapseQueue::insert(std::vector<Entry> vNew)
{
    if (vNew.empty())
        return;
    if (vNew.size() > maxSequence - numInserted)
        renumber();
    zanAssert(vNew.size() <= maxSequence - numInserted);
    for (Entry& entry : vNew)
        entry.sequence = numInserted++;
    sortMT(vNew.begin(), vNew.end(), ComesBefore());
    numEntries += vNew.size();
    vRuns.push_back({std::move(vNew), 0});
    while (vRuns.size() > 1 && vRuns[vRuns.size() - 2].size() <= 2 * vRuns.back().size())
        mergeLastTwo();
}

void CollapseQueue::mergeLastTwo()
{
    const auto rest = [](Run& run) { return run.vSorted.begin() + static_cast<std::ptrdiff_t>(run.next); };
    Run last = std::move(vRuns.back());
    vRuns.pop_back();
    Run& run = vRuns.back();
    std::vector<Entry> vMerged(run.size() + last.size());
    std::merge(rest(run), run.vSorted.end(), rest(last), last.vSorted.end(), vMerged.begin(), ComesBefore());
    run = {std::move(vMerged), 0};
}

// Into one run, in the order that the entries have.
void CollapseQueue::renumber()
{
    std::sort(vHeap.begin(), vHeap.end(), ComesBefore());
    vRuns.push_back({std::exchange(vHeap, {}), 0});
    while (vRuns.size() > 1)
        mergeLastTwo();
    numInserted = 0;
    for (size_t i = vRuns[0].next; i < vRuns[0].vSorted.size(); ++i)
        vRuns[0].vSorted[i].sequence = numInserted++;
    if (numEntries == 0)
        vRuns.clear();
}

} // namespace TESK_ZAN
