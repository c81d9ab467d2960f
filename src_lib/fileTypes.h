// Subsystem: files. Builds on: nothing. Used by: hosts, pointFiles, writeMesh, Cloud.
// The kinds of files that the library tells apart by the ending of the name alone. Installed.
#pragma once

#include "zan_export.h"

#include <string>

namespace TESK_ZAN
{

enum FileType {
    FT_STL = 0,
    FT_PLY = 1,
    FT_ASCII = 2, // .xyz .txt .asc
    FT_BIN = 3,
    FT_LIST = 4, // Geomview scene
    FT_UNKNOWN = 5
};

// The kind by the ending, which counts in three spellings only: ".stl", ".STL", ".Stl". A name without a
// known ending is FT_UNKNOWN, however short it is. Does not look at the file.
ZAN_EXPORT FileType getFileType(const std::string& name);

} // namespace TESK_ZAN
