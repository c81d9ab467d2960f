// Subsystem: intake. Builds on: Point3, random, FlatMap. Used by: Cloud, the demo, tests, benches.
// A made-up scan: what the library shows itself on when there is no file at hand.
#pragma once

#include "Point3.h"

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

// Appends about numPoints coloured points on the closed surface of a figure of height 2, sampled evenly as a
// scanner would: jittered positions, noise of a tenth of the spacing along the normal, and a few gaps
// where a scanner does not see. Calculates with sums, products, quotients and square roots only, so the same
// points come out everywhere. O(numPoints), about three microseconds each; up to 10^9.
void makeSampleScan(std::vector<Point3>& vPoints, std::size_t numPoints = 100000);

} // namespace TESK_ZAN
