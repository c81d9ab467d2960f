// Small decisions out of a row of bytes. At its end all of them are 0.
#pragma once

#include "FuzzTarget.h"

#include <array>

namespace zan_fuzz
{

class ByteSource
{
public:
    explicit ByteSource(Bytes bytes) : rest(bytes) {}

    bool empty() const { return rest.empty(); }

    std::uint8_t byte()
    {
        if (rest.empty())
            return 0;
        const std::uint8_t b = rest.front();
        rest = rest.subspan(1);
        return b;
    }

    int signedByte() { return static_cast<std::int8_t>(byte()); }

    // 0 to n - 1; n up to 256.
    int below(int n) { return byte() % n; }

    // 0 to just below 1, from two bytes.
    double fraction()
    {
        const int high = byte();
        return (high * 256 + byte()) / 65536.0;
    }

    template <class T, std::size_t N>
    T oneOf(const std::array<T, N>& values)
    {
        return values[byte() % N];
    }

private:
    Bytes rest;
};

} // namespace zan_fuzz
