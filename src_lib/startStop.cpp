#include "startStop.h"

#include "TaskPool.h"
#include "zanAssert.h"

namespace TESK_ZAN
{

void getStartStop(size_t siz, int numThreads, bool bAlternate,
                  std::vector<std::pair<size_t, size_t>>& vRanges)
{
    const size_t num = static_cast<size_t>(numThreads < 1 ? getNumCPU() : numThreads);
    const size_t base = siz / num;
    const size_t numLonger = siz % num;
    std::vector<std::pair<size_t, size_t>> vInOrder;
    vInOrder.reserve(num);
    size_t sumRange = 0;
    for (size_t i = 0; i < num; ++i) {
        const size_t start = sumRange;
        sumRange += base + (i < numLonger ? 1 : 0);
        vInOrder.emplace_back(start, sumRange);
    }
    zanAssertText(siz == sumRange, "siz==sumRange");
    if (!bAlternate) {
        vRanges.swap(vInOrder);
        return;
    }
    vRanges.clear();
    vRanges.reserve(num);
    for (const size_t parity : {size_t{0}, size_t{1}})
        for (size_t i = parity; i < num; i += 2)
            vRanges.push_back(vInOrder[i]);
}

} // namespace TESK_ZAN
