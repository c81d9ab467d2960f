// Subsystem: run. Builds on: Mesh, meshWriters, fileTypes, loadFiles, messages. Used by: hosts.
// A finished mesh into a file of the kind that its name asks for. Contract: zan_api_functions.h.
#pragma once

#include "zan_export.h"

#include <memory>
#include <string>

namespace TESK_ZAN
{

class Mesh;

ZAN_EXPORT bool writeMesh_auto(const std::string& name, std::shared_ptr<Mesh> pMesh, bool bAscii);
ZAN_EXPORT bool saveMesh(const std::string& name, std::shared_ptr<Mesh> pMesh, bool bAscii);

} // namespace TESK_ZAN
