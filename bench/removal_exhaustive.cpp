// Checks the removal rules over all 2^26 neighbourhoods: the fast decision against the explicit search, the
// numbers of each kind, and hashes of the two tables of answers. Prints what it found; exit code 0 if all
// agrees. Takes a minute or two on two cores: not part of the tests.
#include "RemoveDecider_RCD.h"
#include "removalRules.h"
#include "sortMT.h"

#include <atomic>
#include <bit>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace TESK_ZAN;

namespace
{

constexpr u64 NUM_WORDS = u64{1} << 20; // 64 neighbourhoods a word

constexpr u64 NUM_GAP = 36724736, NUM_BORDER = 15510774, NUM_INNER = 14873354;
constexpr u64 HASH_GAP = 0x7521443a57659925, HASH_BORDER = 0x90558f238b4a548c;

// FNV-1a, 64 bits, over the words as little-endian bytes.
u64 hashOf(const std::vector<u64>& vWords)
{
    u64 hash = 0xcbf29ce484222325;
    for (const u64 word : vWords)
        for (unsigned int shift = 0; shift < 64; shift += 8)
            hash = (hash ^ (word >> shift & 0xff)) * 0x100000001b3;
    return hash;
}

u64 countSet(const std::vector<u64>& vWords)
{
    u64 num = 0;
    for (const u64 word : vWords)
        num += static_cast<u64>(std::popcount(word));
    return num;
}

bool report(const char* what, u64 found, u64 expected)
{
    std::printf("%-22s %016llx %10llu  %s\n", what, static_cast<unsigned long long>(found),
                static_cast<unsigned long long>(found), found == expected ? "ok" : "WRONG");
    return found == expected;
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Neighbourhoods of which fast and slow answers differ.
u64 countDisagreements(const std::vector<u64>& vGap, const std::vector<u64>& vBorder)
{
    std::atomic<u64> numWrong{0};
    forRangeMT(NUM_WORDS, [&](size_t begin, size_t end) {
        u64 num = 0;
        for (u64 index = begin * 64; index < end * 64; ++index) {
            const RemovalClass kind = RemoveDecider_RCD::classifyIndex(static_cast<unsigned int>(index));
            num += kind.bGap != (vGap[index / 64] >> index % 64 & 1) ||
                   kind.bBorder != (vBorder[index / 64] >> index % 64 & 1);
        }
        numWrong += num;
    });
    return numWrong;
}

} // namespace

int main()
{
    const auto start = std::chrono::steady_clock::now();
    const RemovalRules& rules = RemovalRules::get();
    std::printf("table made in %.1f ms\n", 1000 * secondsSince(start));

    std::vector<u64> vGap(NUM_WORDS), vBorder(NUM_WORDS);
    u64 numInner = 0;
    for (u64 index = 0; index < NUM_WORDS * 64; ++index) {
        const unsigned int configuration = index26ToConfig(static_cast<unsigned int>(index));
        vGap[index / 64] |= u64{rules.isGap(configuration)} << index % 64;
        vBorder[index / 64] |= u64{rules.isBorder(configuration)} << index % 64;
        numInner += rules.isInner(configuration);
    }
    std::printf("fast answers after %.2f s\n", secondsSince(start));

    bool bOK = report("gap", countSet(vGap), NUM_GAP);
    bOK = report("border", countSet(vBorder), NUM_BORDER) && bOK;
    bOK = report("neither", numInner, NUM_INNER) && bOK;
    bOK = report("hash of gap", hashOf(vGap), HASH_GAP) && bOK;
    bOK = report("hash of border", hashOf(vBorder), HASH_BORDER) && bOK;
    bOK = report("fast unlike slow", countDisagreements(vGap, vBorder), 0) && bOK;
    std::printf("%s after %.1f s\n", bOK ? "all agree" : "DISAGREEMENT", secondsSince(start));
    return bOK ? 0 : 1;
}
