// For programs that run one large job: lets the allocator keep what it frees.
#pragma once

#include <cstdlib> // defines __GLIBC__ where this is the C library

#ifdef __GLIBC__
#include <malloc.h>
#endif

// Each stage of a road frees about what the next one takes. By default large blocks go back to the system in
// between, and come as new pages, which the system must find and clear again: a quarter of the time at ten
// million points. The price is a tenth more memory at the peak. To be called first thing in main; the library
// leaves such choices to its host. Nothing happens with other C libraries than glibc.
inline void keepFreedMemory()
{
#ifdef __GLIBC__
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1); // never
#endif
}
