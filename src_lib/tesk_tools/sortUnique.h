// Subsystem: ground. Builds on: nothing. Used by: all floors; sortUniqueMT in sortMT.h is the parallel form.
// Lists in order, without repetitions.
#pragma once

#include <algorithm>
#include <functional>
#include <vector>

namespace TESK_TOOLS
{

// Sorts, and leaves one of equal elements; elements that less does not tell apart must be equal. n log n.
template <class T, class Less = std::less<>>
void sortUnique(std::vector<T>& v, Less less = {})
{
    std::sort(v.begin(), v.end(), less);
    v.erase(std::unique(v.begin(), v.end()), v.end());
}

} // namespace TESK_TOOLS
