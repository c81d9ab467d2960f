#include "Iso.h"

#include "Calc.h"
#include "zanAssert.h"

#include <bit>

namespace TESK_ZAN
{

namespace
{

constexpr unsigned int NUM_WORDS = Iso::SIDE * Iso::SIDE;

bool isBelowSide(int x, int y, int z)
{
    return x < Iso::SIDE && y < Iso::SIDE && z < Iso::SIDE;
}

unsigned int addressOf(int y, int z)
{
    return (static_cast<unsigned int>(y) << Iso::NUM_LEVELS) + static_cast<unsigned int>(z);
}

} // namespace

void Iso::set(int x, int y, int z, bool bValue)
{
    zanAssertText(x > -1 && y > -1 && z > -1, "x>-1 && y>-1 && z>-1");
    zanAssertText(isBelowSide(x, y, z), "x<32 && y<32 && z<32");
    const unsigned int address = addressOf(y, z);
    if (address >= vWords.size()) {
        if (!bValue)
            return;
        vWords.resize(address + 1, 0);
    }
    const std::uint32_t bit = std::uint32_t{1} << x;
    if (bValue)
        vWords[address] |= bit;
    else
        vWords[address] &= ~bit;
}

bool Iso::get(int x, int y, int z) const
{
    zanAssertText(isBelowSide(x, y, z), "x<32 && y<32 && z<32");
    const unsigned int address = addressOf(y, z); // a negative y or z comes out far above the words
    zanAssertText(x >= 0 && address < NUM_WORDS, "address<1024");
    return address < vWords.size() && (vWords[address] >> x & 1) != 0;
}

void Iso::getCCDs(std::vector<u64>& vCCD) const
{
    for (unsigned int address = 0; address < vWords.size(); ++address) {
        const u64 y = address >> NUM_LEVELS, z = address & (SIDE - 1);
        for (std::uint32_t word = vWords[address]; word != 0; word &= word - 1) {
            const auto x = static_cast<u64>(std::countr_zero(word));
            vCCD.push_back(upper | spreadBits3(x) << 2 | spreadBits3(y) << 1 | spreadBits3(z));
        }
    }
}

} // namespace TESK_ZAN
