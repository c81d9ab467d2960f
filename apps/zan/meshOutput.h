// The mesh that a command ends with, on its way into a file.
#pragma once

#include <zan/Mesh.h>

#include <memory>
#include <string>

class OutputFile;

// Throws CommandError unless the ending of the name tells a form that meshes are written in.
void checkHoldsMesh(const std::string& name);

// Writes and commits. Throws CommandError when that fails; wantedName is for its message.
void writeMesh(const std::shared_ptr<TESK_ZAN::Mesh>& pMesh, OutputFile& output,
               const std::string& wantedName, bool bAscii);
