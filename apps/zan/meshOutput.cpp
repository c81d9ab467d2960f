#include "meshOutput.h"

#include "CommandError.h"
#include "OutputFile.h"

#include <zan/zan_api_functions.h>

using namespace TESK_ZAN;

void checkHoldsMesh(const std::string& name)
{
    switch (getFileType(name)) {
    case FT_PLY:
    case FT_STL:
    case FT_LIST:
        return;
    default:
        throw CommandError(ExitCode::Usage, "the ending of '" + name +
                                                "' does not tell which kind of mesh file to write. Use " +
                                                ".ply, .stl or .list.");
    }
}

void writeMesh(const std::shared_ptr<Mesh>& pMesh, OutputFile& output, const std::string& wantedName,
               bool bAscii)
{
    // The library's PLY switch is reversed for compatibility: true gives the binary form.
    const bool bLibrarySwitch = !bAscii;
    if (!writeMesh_auto(output.workName(), pMesh, bLibrarySwitch))
        throw CommandError(ExitCode::FileTrouble,
                           "'" + wantedName + "' could not be written whole. Is there free space?");
    output.commit();
}
