// Subsystem: ground. Builds on: messages, zanAssert, largePages. Used by: every class with millions of small
// records. The pool allocator: raw slots out of large blocks, never freed one by one.
#pragma once

#include "messages.h"
#include "tesk_tools/largePages.h"
#include "zanAssert.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <ostream>
#include <vector>

namespace TESK_TOOLS
{

// Hands out slots for objects of T; addresses stay valid until the pool dies. Slots of one block ascend in
// the order in which they were handed out, but the addresses of different blocks have no order: records that
// need one carry a creation number.
//
// The pool constructs and destroys nothing. The caller constructs in place, and the owner of records that own
// memory themselves runs their destructors before the pool goes: declare the pool before (so that it is
// destroyed after) whatever still points into it.
//
// Not thread-safe. A record may be over-aligned. When memory runs out, the process ends with exit code 1, so
// hostile sizes must be refused before they get here.
template <class T>
class SimplePool
{
public:
    SimplePool() = default;
    SimplePool(int firstSize_, int increase_) { init(firstSize_, increase_); }
    ~SimplePool();

    SimplePool(const SimplePool&) = delete;
    SimplePool& operator=(const SimplePool&) = delete;

    // Allocates the first block: firstSize_ elements, at least 1. Every later block has increase_ elements;
    // an increase_ of 0 or less means automatic growth: half of the first size, then twice the last block, up
    // to about 100 MB a block. A second call is a bug of the caller and ends the process with exit code 1.
    void init(int firstSize_, int increase_);

    // The next free slot, as raw memory for one T. The pool must be initialized. One increment and one
    // comparison unless a block is full.
    T* newObject()
    {
        if (++index >= size) [[unlikely]]
            addBlock();
        return pBlock + index;
    }

    // All slots are free again, for an owner that has destroyed its records. The first block is kept and used
    // from its start, the others are given back. The pool must be initialized.
    void restart();

    bool isInitialized() const { return bInitialized; }

    // The element counts of all blocks, in order of allocation.
    const std::vector<int>& getBlockSizes() const { return vSizes; }

private:
    static constexpr std::size_t MAX_AUTO_BYTES = 100'000'000;
    static constexpr std::size_t MANY_BLOCKS = 500; // more of them: the pool was sized badly

    void addBlock();
    int automaticSize() const;
    void allocBlock(int numElements);

    std::vector<T*> vBlocks;
    std::vector<int> vSizes; // parallel to vBlocks
    T* pBlock = nullptr;     // the block in use; owned through vBlocks
    int index = -1;          // last slot handed out of pBlock
    int size = 0;            // elements of pBlock
    int firstSize = 1;
    int increase = -1;
    bool bInitialized = false;
    int increaseLimit = 1;
};

template <class T>
SimplePool<T>::~SimplePool()
{
    if (vBlocks.size() > MANY_BLOCKS)
        TESK_ZAN::messageStream() << "SimplePool::~SimplePool: Number of containers to release: "
                                  << vBlocks.size() << std::endl;
    for (T* pOld : vBlocks)
        std::free(pOld);
}

template <class T>
void SimplePool<T>::init(int firstSize_, int increase_)
{
    if (bInitialized) {
        TESK_ZAN::messageStream() << "SimplePool::init(..), ERROR: This pool is already initialized"
                                  << std::endl;
        std::exit(1);
    }
    increaseLimit = int(MAX_AUTO_BYTES / sizeof(T));
    if (increaseLimit == 0) {
        increaseLimit = 1;
        TESK_ZAN::messageStream() << "TeskPool::init(..), Warning: increaseLimit=1" << std::endl;
    }
    firstSize = std::max(firstSize_, 1);
    increase = increase_ == 0 ? -1 : increase_; // a block of no elements could hold nothing
    allocBlock(firstSize);
    bInitialized = true;
}

template <class T>
void SimplePool<T>::restart()
{
    zanAssertText(bInitialized, "initialized");
    for (std::size_t i = 1; i < vBlocks.size(); ++i)
        std::free(vBlocks[i]);
    vBlocks.resize(1);
    vSizes.resize(1);
    pBlock = vBlocks.front();
    size = vSizes.front();
    index = -1;
}

template <class T>
void SimplePool<T>::addBlock()
{
    index = size - 1; // should a check below fail, the pool still is as it was
    zanAssertText(bInitialized, "initialized");
    allocBlock(increase < 0 ? automaticSize() : increase);
    index = 0;
}

template <class T>
int SimplePool<T>::automaticSize() const
{
    zanAssertText(!vSizes.empty(), "!vSizes.empty()");
    zanAssertText(vSizes.back() > 0, "vSizes.back()>0");
    int numElements = 0;
    if (vSizes.size() == 1)
        numElements = firstSize > 1 ? firstSize / 2 : firstSize;
    else // clamped before it is doubled: an explicit first size may be as large as an int can be
        numElements = 2 * std::min(vSizes.back(), increaseLimit);
    return std::min(numElements, increaseLimit);
}

template <class T>
void SimplePool<T>::allocBlock(int numElements)
{
    const std::size_t numBytes = std::size_t(numElements) * sizeof(T);
    vSizes.push_back(numElements);
    vBlocks.push_back(nullptr); // before the allocation, so that it cannot leak if this throws
    void* pRaw = nullptr;
    if constexpr (alignof(T) > alignof(std::max_align_t))
        pRaw = std::aligned_alloc(alignof(T), numBytes);
    else
        pRaw = std::malloc(numBytes);
    if (pRaw == nullptr) {
        TESK_ZAN::messageStream() << "SimplePool::alloc(..), ERROR: Out of memory, sorry" << std::endl;
        std::exit(1);
    }
    adviseLargePages(pRaw, numBytes);
    pBlock = static_cast<T*>(pRaw);
    vBlocks.back() = pBlock;
    size = numElements;
    index = -1;
}

} // namespace TESK_TOOLS
