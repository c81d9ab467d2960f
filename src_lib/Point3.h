// Subsystem: geometry values. Builds on: Vector3. Used by: everything, and by hosts.
// A point of three doubles that can carry an RGBA colour: the only way in which colour enters the system.
// Installed.
#pragma once

#include "Vector3.h"
#include "zan_export.h"

#include <cmath>
#include <string>

namespace TESK_ZAN
{

// A plain value of 32 bytes, in the units of the input. Colour bytes are 0 to 255 and meaningful only if
// hasColor(); a point made without colour has all of them 0. Comparisons look at the coordinates only, and
// exactly; they need finite coordinates to be an order.
class ZAN_EXPORT Point3
{
public:
    Point3() = default;
    Point3(double x, double y, double z) : _x(x), _y(y), _z(z) {}
    Point3(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b, unsigned char a)
        : _x(x), _y(y), _z(z), _r(r), _g(g), _b(b), _a(a), _hasColor(1)
    {
    }

    double x() const { return _x; }
    double y() const { return _y; }
    double z() const { return _z; }

    void xyz(double& x, double& y, double& z) const
    {
        x = _x;
        y = _y;
        z = _z;
    }

    // Both leave the colour as it is.
    void set(double x, double y, double z)
    {
        _x = x;
        _y = y;
        _z = z;
    }
    void set(const Point3& p) { set(p._x, p._y, p._z); }

    // True if no coordinate is infinite or NaN.
    bool isFinite() const { return std::isfinite(_x) && std::isfinite(_y) && std::isfinite(_z); }

    bool hasColor() const { return _hasColor != 0; }

    void setColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a)
    {
        _r = r;
        _g = g;
        _b = b;
        _a = a;
        _hasColor = 1;
    }

    // Colour bytes and flag: a point without colour makes this one colourless.
    void copyColorFrom(const Point3& p)
    {
        _r = p._r;
        _g = p._g;
        _b = p._b;
        _a = p._a;
        _hasColor = p._hasColor;
    }

    // The rounded mean if both have colour, the one colour if only one has. If neither has, this point counts
    // as colourless from now on and its bytes stay.
    void copyColorFrom(const Point3& p0, const Point3& p1);

    // 0.0 to 1.0.
    void getColor_1(float& r, float& g, float& b, float& a) const;

    // 0.0 to 255.0, and the bytes.
    void getColor_255(float& r, float& g, float& b, float& a) const;
    void getColor_255(unsigned char& r, unsigned char& g, unsigned char& b, unsigned char& a) const;

    // "r g b a", each 0 to 1, independent of the host's locale.
    std::string getColorString() const;

    // Adds the bytes (0 to 255) to the four sums.
    void addOwnColor(float& r, float& g, float& b, float& a) const;

    // Add the coordinates to the three sums, plain or weighted.
    void addOwnCoords(double& x, double& y, double& z) const
    {
        x += _x;
        y += _y;
        z += _z;
    }
    void addOwnCoordsW(double& x, double& y, double& z, double w) const
    {
        x += w * _x;
        y += w * _y;
        z += w * _z;
    }
    void addWeightedOwnCoords(double w, double& x, double& y, double& z) const { addOwnCoordsW(x, y, z, w); }

    bool operator==(const Point3& p) const { return _x == p._x && _y == p._y && _z == p._z; }
    bool operator!=(const Point3& p) const { return !(*this == p); }

    // By x, then y, then z.
    bool operator<(const Point3& p) const
    {
        if (_x != p._x)
            return _x < p._x;
        if (_y != p._y)
            return _y < p._y;
        return _z < p._z;
    }
    bool operator>(const Point3& p) const { return p < *this; }

    // The vector from p to this point.
    Vector3 operator-(const Point3& p) const { return Vector3(_x - p._x, _y - p._y, _z - p._z); }

    // The moved point, without colour.
    Point3 operator+(const Vector3& v) const { return Point3(_x + v.x(), _y + v.y(), _z + v.z()); }
    Point3 operator-(const Vector3& v) const { return Point3(_x - v.x(), _y - v.y(), _z - v.z()); }

private:
    double _x = 0.0;
    double _y = 0.0;
    double _z = 0.0;
    unsigned char _r = 0;
    unsigned char _g = 0;
    unsigned char _b = 0;
    unsigned char _a = 0;
    unsigned char _hasColor = 0; // 0 or 1
};

static_assert(sizeof(Point3) == 32, "clouds of 10^7 points are held as arrays of this");

} // namespace TESK_ZAN
