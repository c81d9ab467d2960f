// What a command can do to a mesh before it writes it: closed holes, annealing, smoothing, sharp edges,
// reduction, contrast.
#pragma once

#include "Length.h"

#include <zan/Mesh.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

class Job;

// In degrees: what a surface sampled by a scanner turns by where it is flat; what only sharp edges turn by.
constexpr double DEFAULT_REDUCE_ANGLE = 5.0;
constexpr double DEFAULT_SHARPEN_ANGLE = 40.0;

// Each empty, false or 0 where the step is not asked for.
struct FinishingOptions {
    std::optional<int> oMaxEdges; // of a hole that is closed, 0: any
    bool bFlip = false;
    bool bAnneal = false;
    int numSmooth = 0;                   // rounds
    std::optional<double> oSharpenAngle; // of the edges that are sharpened, in degrees
    std::vector<std::string> vReduce;    // both of the next two in one option, as text
    std::optional<Length> oReduceLength; // the longest edge to collapse; without, any
    std::optional<double> oReduceAngle;  // the largest turn in degrees; without, the default
    std::vector<double> vContrast;       // the parts to cut at the low and at the high end
};

// Defines the options of all steps but the flip. options must live as long as the command.
void addFinishingOptions(CLI::App& command, FinishingOptions& options);

// The two limits of a reduction alone.
void addReduceLimits(CLI::App& command, FinishingOptions& options);

// Takes the steps in a fixed order: close holes, flip, anneal, smooth, sharpen, reduce, contrast; each is a
// stage of the job, with a line in the report if it has a figure.
void finishMesh(const FinishingOptions& options, const std::shared_ptr<TESK_ZAN::Mesh>& pMesh, Job& job);
