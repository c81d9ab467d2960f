// Subsystem: files. Builds on: tinyply. Used by: plyPoints, plyForms.
// The values of a PLY file whose type only the file tells.
#pragma once

#include "tinyply.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace TESK_ZAN::PLY
{

// The i-th value of packed ones.
template <class T>
T load(const std::uint8_t* p, std::size_t i)
{
    T value;
    std::memcpy(&value, p + i * sizeof(T), sizeof(T));
    return value;
}

// Calls f with a value of the C++ type that t stands for.
template <class F>
void withType(Type t, F f)
{
    switch (t) {
    case Type::INT8:
        return f(std::int8_t());
    case Type::UINT8:
        return f(std::uint8_t());
    case Type::INT16:
        return f(std::int16_t());
    case Type::UINT16:
        return f(std::uint16_t());
    case Type::INT32:
        return f(std::int32_t());
    case Type::UINT32:
        return f(std::uint32_t());
    case Type::FLOAT32:
        return f(float());
    case Type::FLOAT64:
        return f(double());
    default:
        throw std::invalid_argument("invalid ply property");
    }
}

} // namespace TESK_ZAN::PLY
