#include "tesk_tools/largePages.h"

#ifdef __linux__
#include <sys/mman.h>

#include <cstdint>
#endif

namespace TESK_TOOLS
{

void adviseLargePages([[maybe_unused]] void* pBlock, [[maybe_unused]] std::size_t numBytes)
{
#ifdef MADV_HUGEPAGE
    constexpr std::uintptr_t PAGE = 1 << 21;
    const std::size_t offset = (PAGE - reinterpret_cast<std::uintptr_t>(pBlock) % PAGE) % PAGE;
    if (numBytes < offset + PAGE)
        return; // no whole page
    const std::size_t numInPages = (numBytes - offset) / PAGE * PAGE;
    static_cast<void>(madvise(static_cast<char*>(pBlock) + offset, numInPages, MADV_HUGEPAGE));
#endif
}

} // namespace TESK_TOOLS
