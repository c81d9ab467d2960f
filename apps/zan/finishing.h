// What a command can do to a mesh before it writes it: closed holes, annealing, smoothing, reduction,
// contrast.
#pragma once

#include <zan/Mesh.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI
{
class App;
}

// Each empty or 0 where the step is not asked for.
struct FinishingOptions {
    bool any() const
    {
        return oMaxEdges || bAnneal || numSmooth > 0 || !vReduce.empty() || !vContrast.empty();
    }

    std::optional<int> oMaxEdges; // of a hole that is closed, 0: any
    bool bAnneal = false;
    int numSmooth = 0;             // rounds
    std::vector<double> vReduce;   // the longest edge to collapse, the largest turn in degrees
    std::vector<double> vContrast; // the parts to cut at the low and at the high end
};

// Defines the options. options must live as long as the command.
void addFinishingOptions(CLI::App& command, FinishingOptions& options);

// Takes the steps in a fixed order: close holes, anneal, smooth, reduce, contrast. Returns a label and a
// value for each.
using ReportLines = std::vector<std::pair<std::string, std::string>>;
ReportLines finishMesh(const FinishingOptions& options, const std::shared_ptr<TESK_ZAN::Mesh>& pMesh);
