// Subsystem: geometry values. Builds on: the standard library. Used by: everything, and by hosts.
// A vector of three doubles, and normalize. Installed.
#pragma once

#include "zan_export.h"

#include <cmath>

namespace TESK_ZAN
{

// A plain value, in the units of the input; (0, 0, 0) when default-built.
class ZAN_EXPORT Vector3
{
public:
    Vector3() = default;
    Vector3(double x, double y, double z) : _x(x), _y(y), _z(z) {}

    double x() const { return _x; }
    double y() const { return _y; }
    double z() const { return _z; }

    void xyz(double& x, double& y, double& z) const
    {
        x = _x;
        y = _y;
        z = _z;
    }

    // Component i of 0, 1, 2. Any other i is told on the error stream and gives the largest finite double.
    double getCartesian(int i) const;

    void set(double x, double y, double z)
    {
        _x = x;
        _y = y;
        _z = z;
    }
    void reset() { set(0.0, 0.0, 0.0); }

    void add(const Vector3& other) { set(_x + other._x, _y + other._y, _z + other._z); }
    void sub(const Vector3& other) { set(_x - other._x, _y - other._y, _z - other._z); }
    void mul(double factor) { set(_x * factor, _y * factor, _z * factor); }
    void div(double divisor) { set(_x / divisor, _y / divisor, _z / divisor); }

    Vector3& operator+=(const Vector3& other)
    {
        add(other);
        return *this;
    }
    Vector3& operator-=(const Vector3& other)
    {
        sub(other);
        return *this;
    }
    Vector3& operator*=(double factor)
    {
        mul(factor);
        return *this;
    }
    Vector3& operator/=(double divisor)
    {
        div(divisor);
        return *this;
    }

    Vector3 operator*(double factor) const { return Vector3(_x * factor, _y * factor, _z * factor); }
    Vector3 operator/(double divisor) const { return Vector3(_x / divisor, _y / divisor, _z / divisor); }

    // The dot product.
    double operator*(const Vector3& other) const { return _x * other._x + _y * other._y + _z * other._z; }

    // Adds the components to the three sums.
    void addOwnCoords(double& x, double& y, double& z) const
    {
        x += _x;
        y += _y;
        z += _z;
    }

    double length() const { return std::sqrt(sqLength()); }
    double sqLength() const { return _x * _x + _y * _y + _z * _z; }

    // The largest component by value, signs kept.
    double getMaxComponent() const;

    double getMaxAbsComponent() const;

    // 0, 1 or 2: where the largest absolute value stands; the lower index on ties.
    int getMaxAbsIndex() const;

    // Exactly (0, 0, 0).
    bool isDegenerate() const { return _x == 0.0 && _y == 0.0 && _z == 0.0; }

    // Counts as a unit vector. The tolerance of 0.03 is on the squared length.
    bool isNV() const { return 0.03 > std::fabs(1.0 - sqLength()); }

private:
    double _x = 0.0;
    double _y = 0.0;
    double _z = 0.0;
};

// v divided by its length. A vector of length 0 is told on the error stream and gives (0, 0, 0).
ZAN_EXPORT Vector3 normalize(const Vector3& v);

inline Vector3 operator+(const Vector3& a, const Vector3& b)
{
    return Vector3(a.x() + b.x(), a.y() + b.y(), a.z() + b.z());
}

inline Vector3 operator-(const Vector3& a, const Vector3& b)
{
    return Vector3(a.x() - b.x(), a.y() - b.y(), a.z() - b.z());
}

inline Vector3 operator*(double factor, const Vector3& v)
{
    return v * factor;
}

inline Vector3 crossProd(const Vector3& a, const Vector3& b)
{
    return Vector3(a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
                   a.x() * b.y() - a.y() * b.x());
}

} // namespace TESK_ZAN
