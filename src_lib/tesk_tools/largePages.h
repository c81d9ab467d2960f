// Subsystem: ground. Builds on: nothing. Used by: SimplePool.
// Memory in fewer and larger pages, where the system has them.
#pragma once

#include <cstddef>

namespace TESK_TOOLS
{

// To be called for a block of memory that is going to be used nearly whole, before its first use. A system
// that gives pages one by one takes a tenth of the time of a run for that, and walks from record to record
// spend as much on looking pages up. Only a hint: nothing happens for small blocks, and on systems without
// such pages.
void adviseLargePages(void* pBlock, std::size_t numBytes);

} // namespace TESK_TOOLS
