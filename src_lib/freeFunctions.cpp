#include "freeFunctions.h"

#include "messages.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <ostream>
#include <sstream>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr double DEGREES_PER_RADIAN = 57.295779513;
constexpr double MAX_DOUBLE = std::numeric_limits<double>::max();

// The length differs from 1 by more than 0.1. Well inside the tolerance the squared length tells, without a
// root.
bool isFarFromUnit(const Vector3& v)
{
    const double sqLen = v.sqLength();
    if (sqLen > 0.82 && sqLen < 1.2) [[likely]]
        return false;
    return std::fabs(1.0 - std::sqrt(sqLen)) > 0.1;
}

// To be called before any angle is computed. name is the function that the text blames.
void requireUnitVectors(const char* name, const Vector3& a, const Vector3& b)
{
    if (!isFarFromUnit(a) && !isFarFromUnit(b)) [[likely]]
        return;
    complaintStream() << name << " has been called for vectors with length!=1.0:\n"
                      << "  Lengths are: len0=" << a.length() << "   len1=" << b.length() << "\n\n"
                      << std::flush;
    zanFail();
}

} // namespace

// ---- angles

double getAngleDegree(const Vector3& a, const Vector3& b)
{
    requireUnitVectors("getAngleDegree", a, b);
    const double cosine = a * b;
    if (cosine > 1.0)
        return 0.0;
    if (cosine < -1.0)
        return 180.0;
    return std::acos(cosine) * DEGREES_PER_RADIAN;
}

double getAngleRad(const Vector3& a, const Vector3& b)
{
    requireUnitVectors("getAngleDegree", a, b); // the text is one for both
    const double cosine = a * b;
    if (cosine > 1.0)
        return 0.0;
    if (cosine < -1.0)
        return std::numbers::pi;
    return std::acos(cosine);
}

double getCosPhi(const Vector3& a, const Vector3& b)
{
    requireUnitVectors("getCosPhi", a, b);
    return std::clamp(a * b, -1.0, 1.0);
}

double getMinAngle(const Point3& a, const Point3& b, const Point3& c)
{
    const Vector3 ab = normalize(b - a);
    const Vector3 ac = normalize(c - a);
    const Vector3 bc = normalize(c - b);
    return std::min(
        {getAngleDegree(ab, ac), getAngleDegree(bc, -1.0 * ab), getAngleDegree(-1.0 * ac, -1.0 * bc)});
}

// ---- distances

Point3 getFootPoint3D(const Point3& p0, const Point3& p1, const Point3& q)
{
    zanAssertText(p0 != p1, "p0.x()!=p1.x() || p0.y()!=p1.y() || p0.z()!=p1.z()");
    constexpr double MIN_LINE_LENGTH = 1e-10; // below it the direction means nothing
    const Vector3 line = p1 - p0;
    const double len = line.length();
    if (len < MIN_LINE_LENGTH)
        return p0;
    const Vector3 u = line / len;
    return p0 + u * ((q - p0) * u);
}

double distanceToEdge(const Point3& p0, const Point3& p1, const Point3& q)
{
    const Point3 foot = getFootPoint3D(p0, p1, q);
    return std::sqrt(std::min({sqDistance(q, foot), sqDistance(q, p0), sqDistance(q, p1)}));
}

double distanceToSegment(const Point3& p0, const Point3& p1, const Point3& q)
{
    const Vector3 side = p1 - p0;
    const double sqLen = side * side;
    const double t = sqLen > 0.0 ? std::clamp((q - p0) * side / sqLen, 0.0, 1.0) : 0.0;
    return (q - (p0 + t * side)).length();
}

double distanceToTriangle(const Point3& p0, const Point3& p1, const Point3& p2, const Point3& q)
{
    const Vector3 normal = crossProd(p1 - p0, p2 - p0);
    const bool bOverIt = crossProd(p1 - p0, q - p0) * normal >= 0.0 &&
                         crossProd(p2 - p1, q - p1) * normal >= 0.0 &&
                         crossProd(p0 - p2, q - p2) * normal >= 0.0;
    const double len = normal.length();
    if (bOverIt && len > 0.0)
        return std::fabs((q - p0) * normal) / len;
    return std::min(
        {distanceToSegment(p0, p1, q), distanceToSegment(p1, p2, q), distanceToSegment(p2, p0, q)});
}

// ---- areas and volumes

double computeArea(double len0, double len1, double len2)
{
    const double s = (len0 + len1 + len2) / 2;
    const double q = s * (s - len0) * (s - len1) * (s - len2);
    if (std::isnan(q)) {
        zanWarning("computeArea()", "invalid value, no area for this triangle");
        messageStream() << "ownHalfCircf=" << s << "\nlen0=" << len0 << "\nlen1=" << len1 << "\nlen2=" << len2
                        << std::endl;
        zanFail();
    }
    if (q > 0.0)
        return std::sqrt(q);
    if (q < -1.0) {
        std::ostringstream text;
        text << q;
        zanWarning("Numeric issue in Triangle::getArea()", text.str());
    }
    return 0.0;
}

double getAreaHeron(const Point3& a, const Point3& b, const Point3& c)
{
    return computeArea((b - a).length(), (c - b).length(), (a - c).length());
}

double getArea(const Point3& a, const Point3& b, const Point3& c)
{
    return 0.5 * crossProd(b - a, c - a).length();
}

double orient3d(const Point3& a, const Point3& b, const Point3& c, const Point3& d)
{
    return (a - d) * crossProd(b - d, c - d);
}

// ---- centres

Point3 getCentroid(const Point3& a, const Point3& b, const Point3& c)
{
    return Point3((a.x() + b.x() + c.x()) / 3.0, (a.y() + b.y() + c.y()) / 3.0,
                  (a.z() + b.z() + c.z()) / 3.0);
}

Point3 getCircumCenter3D(const Point3& a, const Point3& b, const Point3& c)
{
    const Vector3 ab = b - a;
    const Vector3 ac = c - a;
    const Vector3 abXac = crossProd(ab, ac);
    const double sqCross = abXac.sqLength();
    if (sqCross == 0.0)
        return Point3(MAX_DOUBLE, MAX_DOUBLE, MAX_DOUBLE);
    const Vector3 cp1 = crossProd(abXac, ab);
    const Vector3 cp2 = crossProd(ac, abXac);
    return a + (cp1 * ac.sqLength() + cp2 * ab.sqLength()) / (2.0 * sqCross);
}

// ---- normals and planes

Vector3 getNormalVector(const Point3* p0, const Point3* p1, const Point3* p2, bool& bOK)
{
    bOK = false;
    const Vector3 vec01 = *p1 - *p0;
    const Vector3 vec02 = *p2 - *p0;
    if (vec01.isDegenerate() || vec02.isDegenerate())
        return Vector3();
    const Vector3 cp = crossProd(normalize(vec01), normalize(vec02));
    if (cp.length() == 0.0)
        return Vector3();
    bOK = true;
    return normalize(cp);
}

namespace
{

// The second moments of a point set around its mean.
struct Moments {
    double xx = 0.0, xy = 0.0, xz = 0.0, yy = 0.0, yz = 0.0, zz = 0.0;
};

Point3 meanOf(const std::vector<Point3*>& points)
{
    double x = 0.0, y = 0.0, z = 0.0;
    for (const Point3* p : points)
        p->addOwnCoords(x, y, z);
    const double num = double(points.size());
    return Point3(x / num, y / num, z / num);
}

// The moments of the point set scaled by a power of two to an extent near 1. The fit multiplies coordinates
// four- fold; the scaling keeps that from leaving the range of a double, and changes no digit of the normal.
Moments scaledMoments(const std::vector<Point3*>& points, const Point3& mean)
{
    double extent = 0.0;
    for (const Point3* p : points)
        extent = std::max(extent, (*p - mean).getMaxAbsComponent());
    const int exponent = extent > 0.0 && std::isfinite(extent) ? -std::ilogb(extent) : 0;
    Moments m;
    for (const Point3* p : points) {
        const Vector3 offset = *p - mean;
        const double dx = std::scalbn(offset.x(), exponent);
        const double dy = std::scalbn(offset.y(), exponent);
        const double dz = std::scalbn(offset.z(), exponent);
        m.xx += dx * dx;
        m.xy += dx * dy;
        m.xz += dx * dz;
        m.yy += dy * dy;
        m.yz += dy * dz;
        m.zz += dz * dz;
    }
    return m;
}

// The normal of the plane that fits the moments best, not of unit length: solved for the axis whose
// determinant is largest, because the plane is seen most squarely along it.
Vector3 fitNormal(const Moments& m)
{
    const double detX = m.yy * m.zz - m.yz * m.yz;
    const double detY = m.xx * m.zz - m.xz * m.xz;
    const double detZ = m.xx * m.yy - m.xy * m.xy;
    if (detX >= detY && detX >= detZ)
        return Vector3(detX, m.xz * m.yz - m.xy * m.zz, m.xy * m.yz - m.xz * m.yy);
    if (detY >= detX && detY >= detZ)
        return Vector3(m.xz * m.yz - m.xy * m.zz, detY, m.xy * m.xz - m.yz * m.xx);
    zanAssertText(detZ >= detX && detZ >= detY, "detZ>=detX && detZ>=detY");
    return Vector3(m.xy * m.yz - m.xz * m.yy, m.xy * m.xz - m.yz * m.xx, detZ);
}

} // namespace

bool estimateNNV(const std::vector<Point3*>& points, Vector3& nv, Point3& centroid)
{
    if (points.size() < 3)
        return false;
    const Point3 mean = meanOf(points);
    const Vector3 normal = fitNormal(scaledMoments(points, mean));
    if (normal.isDegenerate())
        return false;
    nv = normalize(normal);
    centroid = mean;
    return true;
}

Plane getEdgePlane(const Point3* p0, const Point3* p1, const Point3* p2, int i)
{
    zanAssertText(p0 != p1, "p0!=p1");
    zanAssertText(p1 != p2, "p1!=p2");
    zanAssertText(p2 != p0, "p2!=p0");
    if (i < 0 || i > 2)
        zanFail();
    const Point3* corners[3] = {p0, p1, p2};
    const Point3& A = *corners[i];
    const Point3& B = *corners[nextIndex3(i)];
    const Point3& C = *corners[prevIndex3(i)];
    const Vector3 vecAB = normalize(B - A);
    zanAssertText(!vecAB.isDegenerate(), "!vecAB.isDegenerate()");
    const Vector3 vecAC = normalize(C - A);
    zanAssertText(!vecAC.isDegenerate(), "!vecAC.isDegenerate()");
    const Vector3 nv = normalize(crossProd(vecAB, vecAC));
    zanAssertText(!nv.isDegenerate(), "!nv.isDegenerate()");
    return Plane(B, B + nv, C);
}

Point3 project2D(const Point3& p, int skipIndex)
{
    switch (skipIndex) {
    case 0:
        return Point3(p.y(), p.z(), 0.0);
    case 1:
        return Point3(p.x(), p.z(), 0.0);
    case 2:
        return Point3(p.x(), p.y(), 0.0);
    default:
        reportFailure(__FILE__, __LINE__, __PRETTY_FUNCTION__, "wrong skipIndex");
    }
}

// ---- ranges

void commonRange(double a0, double a1, double b0, double b1, double& lo, double& hi)
{
    const auto [aLow, aHigh] = std::minmax({a0, a1});
    const auto [bLow, bHigh] = std::minmax({b0, b1});
    if (aLow > bHigh || bLow > aHigh) {
        zanWarning("commonRange()", "empty range, unexpected, returning +DBL_MAX,-DBL_MAX");
        lo = MAX_DOUBLE;
        hi = -MAX_DOUBLE;
        return;
    }
    lo = std::max(aLow, bLow);
    hi = std::min(aHigh, bHigh);
}

void unionRange(double a0, double a1, double b0, double b1, double& lo, double& hi)
{
    const auto [low, high] = std::minmax({a0, a1, b0, b1});
    lo = low;
    hi = high;
}

void moveBySmallestStep(Point3& p)
{
    double aCoords[3] = {p.x(), p.y(), p.z()};
    double* pLargest = std::max_element(aCoords, aCoords + 3,
                                        [](double a, double b) { return std::fabs(a) < std::fabs(b); });
    *pLargest = std::nextafter(*pLargest, std::numeric_limits<double>::infinity());
    zanAssert(std::isfinite(*pLargest));
    p.set(aCoords[0], aCoords[1], aCoords[2]);
}

} // namespace TESK_ZAN
