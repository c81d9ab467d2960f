// Subsystem: geometry values. Builds on: Point3, Vector3, Plane, messages, zanAssert. Used by: everything
// above. Free geometry helpers: angles, distances, areas, centres, planes, ranges. Lengths are in units of
// the input.
#pragma once

#include "Plane.h"
#include "Point3.h"
#include "Vector3.h"
#include "zanAssert.h"

#include <vector>

namespace TESK_ZAN
{

// Angles between two unit vectors: degrees 0 to 180, radians 0 to pi, cosine clamped to [-1, 1]. A vector
// whose length differs from 1 by more than 0.1 (so also the null vector) is told on the error stream and is a
// failed condition: guard the callers.
double getAngleDegree(const Vector3& a, const Vector3& b);
double getAngleRad(const Vector3& a, const Vector3& b);
double getCosPhi(const Vector3& a, const Vector3& b);

// The smallest inner angle of a triangle, in degrees. The three points must differ.
double getMinAngle(const Point3& a, const Point3& b, const Point3& c);

inline double sqDistance(const Point3& p, const Point3& q)
{
    return (p - q).sqLength();
}

inline bool samePosition(const Point3& p, const Point3& q)
{
    return p == q;
}

// The foot of the perpendicular from q on the infinite line p0-p1, not clamped to the segment. p0 itself if
// the two are nearer than 1e-10; exactly equal ones are a failed condition.
Point3 getFootPoint3D(const Point3& p0, const Point3& p1, const Point3& q);

// The smallest of the distances from q to that foot, to p0 and to p1; p0 and p1 must differ.
double distanceToEdge(const Point3& p0, const Point3& p1, const Point3& q);

// The distance from q to the nearest point between p0 and p1, of the triangle. Corners may lie on a line or
// coincide.
double distanceToSegment(const Point3& p0, const Point3& p1, const Point3& q);
double distanceToTriangle(const Point3& p0, const Point3& p1, const Point3& p2, const Point3& q);

// Triangle areas. By Heron's rule from three edge lengths: flat and impossible triangles give 0.0, clearly
// impossible ones with a warning; lengths that make no number are a warning and a failed condition.
double computeArea(double len0, double len1, double len2);
double getAreaHeron(const Point3& a, const Point3& b, const Point3& c);
// By the cross product at a.
double getArea(const Point3& a, const Point3& b, const Point3& c);

// The determinant of a-d, b-d, c-d: six times the signed volume of the tetrahedron.
double orient3d(const Point3& a, const Point3& b, const Point3& c, const Point3& d);

// The mean of the three corners, without colour.
Point3 getCentroid(const Point3& a, const Point3& b, const Point3& c);

// The centre of the circumscribed circle, in the plane of the triangle. Corners on a line (cross product of
// squared length 0.0) give the point whose coordinates are all the largest finite double.
Point3 getCircumCenter3D(const Point3& a, const Point3& b, const Point3& c);

// The unit normal of a triangle that turns counter-clockwise around it. A degenerate triangle gives bOK false
// and (0, 0, 0). bOK is always set.
Vector3 getNormalVector(const Point3* p0, const Point3* p1, const Point3* p2, bool& bOK);

// The least-squares plane of a point set: its unit normal, of no particular side, and the mean. False, with
// both untouched, for fewer than three points and for points on a line. O(n). Independent of the scale of the
// points.
bool estimateNNV(const std::vector<Point3*>& points, Vector3& nv, Point3& centroid);

// The plane through the edge opposite to corner i, orthogonal to the triangle; corner i is on its positive
// side. Equal pointers, a degenerate triangle and an i outside 0 to 2 are failed conditions.
Plane getEdgePlane(const Point3* p0, const Point3* p1, const Point3* p2, int i);

// (y, z, 0), (x, z, 0) or (x, y, 0) for a skipIndex of 0, 1, 2; any other is a failed condition.
Point3 project2D(const Point3& p, int skipIndex);

// Overlap and hull of two ranges, each given by its two ends in any order. Disjoint ranges have no overlap: a
// warning, and lo, hi become the largest finite double and its negative.
void commonRange(double a0, double a1, double b0, double b1, double& lo, double& hi);
void unionRange(double a0, double a1, double b0, double b1, double& lo, double& hi);

// The next larger number on the axis where the position is largest, so that the step is not lost beside the
// other two: the nearest place that everything which compares points tells from this one. The result must be
// finite. The colour stays.
void moveBySmallestStep(Point3& p);

// Cyclic corner indices of a triangle; num is 0, 1 or 2.
inline int nextIndex3(int num)
{
    return num == 2 ? 0 : num + 1;
}

inline int prevIndex3(int num)
{
    zanAssertText(num >= 0 && num < 3, "num>=0 && num<3");
    return num == 0 ? 2 : num - 1;
}

} // namespace TESK_ZAN
