// What the fuzz targets have in common: a name, a function of some bytes, and the ways to report a finding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace zan_fuzz
{

using Bytes = std::span<const std::uint8_t>;

struct FuzzTarget {
    const char* name; // of the target, and of its folders under seeds/ and findings/
    void (*run)(Bytes);
};

// All of them: readers first, then roads, then work on meshes.
const std::vector<FuzzTarget>& allTargets();

// Null if there is none of that name.
const FuzzTarget* findTarget(std::string_view name);

// One thread and no messages: what both programs do before the first run.
void prepareProcess();

// Ends the process with the text, as a fault that the sanitizers see does.
void require(bool condition, const char* what);

// True if the call refused its arguments: by one of the failed conditions that the documentation names for
// bad ones. Any other failed condition ends the process. Other exceptions pass.
bool refusesArguments(const std::function<void()>& call);

// The targets, by file: readers.cpp
void readPlyPoints(Bytes bytes);
void readPlyFaces(Bytes bytes);
void readTextPoints(Bytes bytes);
void readBinaryPoints(Bytes bytes);
void readTextStl(Bytes bytes);
void readBinaryStl(Bytes bytes);
void readObjFile(Bytes bytes);
// roads.cpp
void reconstructDetected(Bytes bytes);
void reconstructGiven(Bytes bytes);
void meltSoup(Bytes bytes);
void cloudOfSoup(Bytes bytes);
void bridgeSoup(Bytes bytes);
// improving.cpp
void improveMesh(Bytes bytes);
// cancelling.cpp
void cancelCalls(Bytes bytes);

} // namespace zan_fuzz
