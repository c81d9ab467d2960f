#include "writeMesh.h"

#include "Mesh.h"
#include "fileTypes.h"
#include "loadFiles.h"
#include "meshWriters.h"
#include "messages.h"

#include <ostream>
#include <stdexcept>

namespace TESK_ZAN
{

namespace
{

// The name that a mesh goes to when its own says nothing about the form.
constexpr const char* FALLBACK_NAME = "zan_output.ply";

// A name that has no room for an ending is a slip of the caller, not an unknown form.
constexpr size_t MIN_NAME_LENGTH = 5;

bool writeByType(const std::string& name, const Mesh& mesh, bool bAscii)
{
    const FileType type = getFileType(name);
    if (type == FT_UNKNOWN && name.size() < MIN_NAME_LENGTH)
        throw std::out_of_range("file name too short");
    switch (type) {
    case FT_STL:
        return mesh.writeStl_ASCII(name);
    case FT_PLY:
        return bAscii ? mesh.writePly_ASCII(name) : mesh.writePly_BIN(name);
    case FT_LIST:
        return mesh.writeGeomview_ASCII(name);
    default:
        complaintStream() << "Filename [" << name << "] is not valid, using [" << FALLBACK_NAME
                          << "] instead\n";
        return mesh.writePly_BIN(FALLBACK_NAME);
    }
}

} // namespace

bool writeMesh_auto(const std::string& name, std::shared_ptr<Mesh> pMesh, bool bAscii)
{
    try {
        if (!pMesh)
            throw std::invalid_argument("no mesh");
        return writeByType(name, *pMesh, bAscii);
    } catch (...) {
        ZAN_ERROR("writing " + name + " failed");
        return false;
    }
}

bool saveMesh(const std::string& name, std::shared_ptr<Mesh> pMesh, bool bAscii)
{
    if (pMesh == nullptr) {
        ZAN_WARNING("no mesh");
        return false;
    }
    const RMesh& mesh = *pMesh->getRMesh();
    if (isObjName(name))
        return writeObj(mesh, name);
    switch (getFileType(name)) {
    case FT_PLY:
        return writePlyFitting(mesh, name, bAscii);
    case FT_STL:
        return bAscii ? writeSTLExact(mesh, name) : writeSTLBinary(mesh, name);
    case FT_LIST:
        return pMesh->writeGeomview_ASCII(name);
    default:
        ZAN_ERROR("The ending of " + name +
                  " names no kind of mesh file, expected .ply, .stl, .obj or .list");
        return false;
    }
}

} // namespace TESK_ZAN
