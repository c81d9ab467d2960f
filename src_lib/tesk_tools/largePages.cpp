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
    const auto begin = reinterpret_cast<std::uintptr_t>(pBlock);
    const std::uintptr_t firstPage = (begin + PAGE - 1) & ~(PAGE - 1); // whole pages of the block only
    const std::uintptr_t endPage = (begin + numBytes) & ~(PAGE - 1);
    if (firstPage < endPage)
        static_cast<void>(madvise(reinterpret_cast<void*>(firstPage), endPage - firstPage, MADV_HUGEPAGE));
#endif
}

} // namespace TESK_TOOLS
