// Clouds, soups and arguments out of bytes, and what every result has to be.
#pragma once

#include "ByteSource.h"
#include "zan_api_functions.h"

#include <memory>
#include <vector>

namespace zan_fuzz
{

using Points = std::vector<TESK_ZAN::Point3>;

// Up to 200 points, written out or on pieces of shapes: at all scales, with and without noise, duplicates,
// colours and coordinates that are not finite.
Points decodeCloud(ByteSource& source);

// Three corners a triangle, seldom one too many; up to 60 triangles over few vertices, so that they share
// them.
Points decodeSoup(ByteSource& source);

// A part of the extent, now and then nonsense. finest: as many cells along the extent at most.
double decodeSpacing(ByteSource& source, const Points& vPoints, int finest);
double decodeAngle(ByteSource& source);
int decodeFillSize(ByteSource& source);

// Ends the process for a mesh that breaks what holds for every mesh: invariants, valid indices, no triangle
// with a corner twice, none twice. True if it is a manifold, perhaps with borders.
bool checkMesh(const TESK_ZAN::Mesh& mesh);

// What holds for the result of a road: a manifold with finite vertices, or no mesh at all.
void checkResult(const std::shared_ptr<TESK_ZAN::Mesh>& pMesh);

bool allFinite(const Points& vPoints);

// The corners of all triangles; empty without a mesh.
Points cornersOf(const std::shared_ptr<TESK_ZAN::Mesh>& pMesh);

// Bit for bit, colours included.
bool sameBytes(const Points& v0, const Points& v1);

} // namespace zan_fuzz
