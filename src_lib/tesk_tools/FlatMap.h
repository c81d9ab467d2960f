// Subsystem: ground. Builds on: mixBits. Used by: every look-up in a loop over points, cells, edges or
// triangles. The flat hash map: all entries in one array, no allocation per entry.
#pragma once

#include "tesk_tools/mixBits.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace TESK_TOOLS
{

struct U64Hash {
    std::uint64_t operator()(std::uint64_t key) const noexcept { return mixBits(key + GOLDEN_STEP); }
};

// For ordered pairs: (a, b) and (b, a) hash differently.
struct U64PairHash {
    std::uint64_t operator()(const std::pair<std::uint64_t, std::uint64_t>& key) const noexcept
    {
        return mixBits(mixBits(key.first + GOLDEN_STEP) + key.second);
    }
};

// Open addressing with linear probing in a power-of-two table, at most three quarters full. Removal shifts
// followers back instead of leaving marks, so a table does not age.
//
// Key and Value are default-constructible and movable; keys compare by ==. Hash gives 64 well-mixed bits: the
// low ones choose the slot, the seven highest ones stand in a byte array beside the entries, which settles
// nearly every comparison with an unequal key (and every empty slot) without touching an entry.
//
// A Value* is valid until the next tryEmplace, erase, reserve, clear or move. The order of the entries is no
// order that anything observable may depend on. Movable, not copyable.
template <class Key, class Value, class Hash>
class FlatMap
{
public:
    FlatMap() = default;
    FlatMap(FlatMap&& other) noexcept { swap(other); }
    FlatMap& operator=(FlatMap&& other) noexcept
    {
        FlatMap taken(std::move(other)); // takes the old content of this along when it goes
        swap(taken);
        return *this;
    }

    std::size_t size() const { return num; }
    bool empty() const { return num == 0; }

    // Null if the key is not there.
    Value* find(const Key& key)
    {
        if (num == 0)
            return nullptr;
        const std::size_t slot = probe(Hash()(key), key);
        return aTags[slot] == EMPTY ? nullptr : &aEntries[slot].value;
    }
    const Value* find(const Key& key) const { return const_cast<FlatMap*>(this)->find(key); }

    // Inserts the value unless the key is there already. The value now in the map, and whether it is the new
    // one.
    std::pair<Value*, bool> tryEmplace(const Key& key, const Value& value);

    // False if the key was not there.
    bool erase(const Key& key);

    // Makes room for numEntries in all, so that no insertion up to there moves an entry.
    void reserve(std::size_t numEntries);

    // Removes all entries and keeps the table. O(capacity).
    void clear();

    // f(const Key&, Value&) for each entry, in no promised order: only for uses where order does not matter.
    template <class F>
    void forEach(F f)
    {
        for (std::size_t slot = 0; slot < capacity; ++slot)
            if (aTags[slot] != EMPTY)
                f(std::as_const(aEntries[slot].key), aEntries[slot].value);
    }

private:
    struct Entry {
        Key key;
        Value value;
    };

    static constexpr std::uint8_t EMPTY = 0;
    static constexpr std::size_t MIN_CAPACITY = 16;

    static std::uint8_t tagOf(std::uint64_t hash) { return std::uint8_t(0x80 | (hash >> 57)); }
    std::size_t next(std::size_t slot) const { return (slot + 1) & (capacity - 1); }
    std::size_t home(std::uint64_t hash) const { return std::size_t(hash) & (capacity - 1); }
    bool fits(std::size_t numEntries) const { return numEntries <= capacity - capacity / 4; }

    std::size_t probe(std::uint64_t hash, const Key& key) const;
    Value* fill(std::size_t slot, std::uint64_t hash, const Key& key, Value&& value);
    void rehash(std::size_t newCapacity);
    void swap(FlatMap& other) noexcept;

    std::unique_ptr<std::uint8_t[]> aTags; // EMPTY, or tagOf the entry's hash
    std::unique_ptr<Entry[]> aEntries;     // meaningful where the tag is not EMPTY
    std::size_t capacity = 0;              // 0 or a power of two
    std::size_t num = 0;
};

// The slot of the key, or else the empty slot where it belongs. There must be a table.
template <class Key, class Value, class Hash>
std::size_t FlatMap<Key, Value, Hash>::probe(std::uint64_t hash, const Key& key) const
{
    const std::uint8_t tag = tagOf(hash);
    std::size_t slot = home(hash);
    while (aTags[slot] != EMPTY && !(aTags[slot] == tag && aEntries[slot].key == key))
        slot = next(slot);
    return slot;
}

template <class Key, class Value, class Hash>
Value* FlatMap<Key, Value, Hash>::fill(std::size_t slot, std::uint64_t hash, const Key& key, Value&& value)
{
    aTags[slot] = tagOf(hash);
    aEntries[slot].key = key;
    aEntries[slot].value = std::move(value);
    ++num;
    return &aEntries[slot].value;
}

template <class Key, class Value, class Hash>
std::pair<Value*, bool> FlatMap<Key, Value, Hash>::tryEmplace(const Key& key, const Value& value)
{
    const std::uint64_t hash = Hash()(key);
    if (capacity != 0) {
        const std::size_t slot = probe(hash, key);
        if (aTags[slot] != EMPTY)
            return {&aEntries[slot].value, false};
        if (fits(num + 1))
            return {fill(slot, hash, key, Value(value)), true};
    }
    const Key ownKey = key; // both may lie in the table that is about to go
    Value ownValue = value;
    rehash(std::max(2 * capacity, MIN_CAPACITY));
    return {fill(probe(hash, ownKey), hash, ownKey, std::move(ownValue)), true};
}

template <class Key, class Value, class Hash>
bool FlatMap<Key, Value, Hash>::erase(const Key& key)
{
    if (num == 0)
        return false;
    std::size_t gap = probe(Hash()(key), key);
    if (aTags[gap] == EMPTY)
        return false;
    // Closes the gap: a follower may move back into it unless its home lies behind the gap.
    for (std::size_t slot = next(gap); aTags[slot] != EMPTY; slot = next(slot)) {
        const std::size_t mask = capacity - 1;
        const std::size_t fromHome = (slot - home(Hash()(aEntries[slot].key))) & mask;
        if (fromHome < ((slot - gap) & mask))
            continue;
        aTags[gap] = aTags[slot];
        aEntries[gap] = std::move(aEntries[slot]);
        gap = slot;
    }
    aTags[gap] = EMPTY;
    aEntries[gap] = Entry{}; // releases what the value owns
    --num;
    return true;
}

template <class Key, class Value, class Hash>
void FlatMap<Key, Value, Hash>::reserve(std::size_t numEntries)
{
    if (!fits(numEntries))
        rehash(std::bit_ceil(std::max(numEntries + numEntries / 3 + 1, MIN_CAPACITY)));
}

template <class Key, class Value, class Hash>
void FlatMap<Key, Value, Hash>::clear()
{
    for (std::size_t slot = 0; slot < capacity; ++slot) {
        if (aTags[slot] == EMPTY)
            continue;
        aTags[slot] = EMPTY;
        aEntries[slot] = Entry{};
    }
    num = 0;
}

template <class Key, class Value, class Hash>
void FlatMap<Key, Value, Hash>::rehash(std::size_t newCapacity)
{
    FlatMap old;
    swap(old);
    aTags = std::make_unique<std::uint8_t[]>(newCapacity);
    aEntries = std::make_unique_for_overwrite<Entry[]>(newCapacity);
    capacity = newCapacity;
    for (std::size_t slot = 0; slot < old.capacity; ++slot) {
        if (old.aTags[slot] == EMPTY)
            continue;
        Entry& entry = old.aEntries[slot];
        const std::uint64_t hash = Hash()(entry.key);
        fill(probe(hash, entry.key), hash, entry.key, std::move(entry.value));
    }
}

template <class Key, class Value, class Hash>
void FlatMap<Key, Value, Hash>::swap(FlatMap& other) noexcept
{
    std::swap(aTags, other.aTags);
    std::swap(aEntries, other.aEntries);
    std::swap(capacity, other.capacity);
    std::swap(num, other.num);
}

} // namespace TESK_TOOLS
