// Bytes of binary files, written down value by value.
#pragma once

#include <algorithm>
#include <string>

namespace zan_test
{

// The values as the machine holds them, one behind the other without padding: bytes(int32_t(30), 1.5).
template <class... T>
std::string bytes(T... values)
{
    std::string all;
    (all.append(reinterpret_cast<const char*>(&values), sizeof(T)), ...);
    return all;
}

// The same in the other byte order.
template <class... T>
std::string swappedBytes(T... values)
{
    std::string all;
    const auto append = [&](std::string one) {
        std::reverse(one.begin(), one.end());
        all += one;
    };
    (append(bytes(values)), ...);
    return all;
}

} // namespace zan_test
