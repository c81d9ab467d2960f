// Subsystem: ground. Builds on: nothing. Used by: CPatch, Hole.
// What stands once in a sorted list.
#pragma once

#include <cstddef>
#include <vector>

namespace TESK_TOOLS
{

// Leaves the elements of a sorted list that stand there once. False if there were no others. Linear.
template <class T>
bool keepSingles(std::vector<T>& vElements)
{
    std::size_t numKept = 0;
    for (std::size_t first = 0, last = 0; first < vElements.size(); first = last) {
        while (last < vElements.size() && vElements[last] == vElements[first])
            ++last;
        if (last == first + 1)
            vElements[numKept++] = vElements[first];
    }
    const bool bHadOthers = numKept < vElements.size();
    vElements.resize(numKept);
    return bHadOthers;
}

} // namespace TESK_TOOLS
