#include "fileTypes.h"

#include <array>
#include <string_view>

namespace TESK_ZAN
{

namespace
{

struct Ending {
    std::string_view text;
    FileType type;
};

constexpr std::array<Ending, 21> ENDINGS{
    {{".stl", FT_STL},   {".STL", FT_STL},   {".Stl", FT_STL},   {".ply", FT_PLY},   {".PLY", FT_PLY},
     {".Ply", FT_PLY},   {".xyz", FT_ASCII}, {".XYZ", FT_ASCII}, {".Xyz", FT_ASCII}, {".txt", FT_ASCII},
     {".TXT", FT_ASCII}, {".Txt", FT_ASCII}, {".asc", FT_ASCII}, {".ASC", FT_ASCII}, {".Asc", FT_ASCII},
     {".bin", FT_BIN},   {".BIN", FT_BIN},   {".Bin", FT_BIN},   {".list", FT_LIST}, {".LIST", FT_LIST},
     {".List", FT_LIST}}};

} // namespace

FileType getFileType(const std::string& name)
{
    for (const Ending& ending : ENDINGS)
        if (name.ends_with(ending.text))
            return ending.type;
    return FT_UNKNOWN;
}

} // namespace TESK_ZAN
