// Reading what a command was given, with the checks that turn trouble into advice.
#pragma once

#include <zan/Point3.h>

#include <string>
#include <vector>

// The input name that stands for the built-in sample scan; no file of this name is read.
inline const std::string SAMPLE_NAME = "artificial123.xyz";

// The points of a cloud file, or of the sample. Never empty.
// Throws CommandError: no such file, not readable, not a type that holds points, no points in it.
std::vector<TESK_ZAN::Point3> readCloud(const std::string& name);

// Throws CommandError unless name is a readable file.
void checkReadable(const std::string& name);

// Whether the header of a PLY file announces faces. False when it cannot be read.
bool plyHasFaces(const std::string& name);
