#include "Point3.h"

#include <locale>
#include <sstream>

namespace TESK_ZAN
{

namespace
{

// Equal to the truncation of 0.5 * (c0 + c1) + 0.5.
unsigned char roundedMean(unsigned char c0, unsigned char c1)
{
    return static_cast<unsigned char>((c0 + c1 + 1) / 2);
}

} // namespace

void Point3::copyColorFrom(const Point3& p0, const Point3& p1)
{
    if (p0.hasColor() && p1.hasColor())
        setColor(roundedMean(p0._r, p1._r), roundedMean(p0._g, p1._g), roundedMean(p0._b, p1._b),
                 roundedMean(p0._a, p1._a));
    else if (p0.hasColor())
        copyColorFrom(p0);
    else if (p1.hasColor())
        copyColorFrom(p1);
    else
        _hasColor = 0;
}

void Point3::getColor_1(float& r, float& g, float& b, float& a) const
{
    r = float(_r) / 255.0f;
    g = float(_g) / 255.0f;
    b = float(_b) / 255.0f;
    a = float(_a) / 255.0f;
}

void Point3::getColor_255(float& r, float& g, float& b, float& a) const
{
    r = float(_r);
    g = float(_g);
    b = float(_b);
    a = float(_a);
}

void Point3::getColor_255(unsigned char& r, unsigned char& g, unsigned char& b, unsigned char& a) const
{
    r = _r;
    g = _g;
    b = _b;
    a = _a;
}

std::string Point3::getColorString() const
{
    float r, g, b, a;
    getColor_1(r, g, b, a);
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << r << ' ' << g << ' ' << b << ' ' << a;
    return text.str();
}

void Point3::addOwnColor(float& r, float& g, float& b, float& a) const
{
    r += float(_r);
    g += float(_g);
    b += float(_b);
    a += float(_a);
}

} // namespace TESK_ZAN
