// Subsystem: runtime. Builds on: TaskPool, zanAssert. Used by: the inflation of the volumes.
// The cutting of a range into one part for each thread, for stages that hold their parts over many rounds.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

// vRanges becomes numThreads parts (start, stop) that cover 0 .. siz in order; the first ones are longer by
// one where siz does not divide evenly, and some are empty when there are fewer elements than threads. A
// numThreads below 1 stands for the thread count of the library. With bAlternate the parts at even places
// come first, then those at odd places: no two that run at the same time touch.
void getStartStop(std::size_t siz, int numThreads, bool bAlternate,
                  std::vector<std::pair<std::size_t, std::size_t>>& vRanges);

} // namespace TESK_ZAN
