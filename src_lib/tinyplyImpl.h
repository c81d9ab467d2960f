// Subsystem: files. Builds on: tinyply. Used by: the files of tinyply only.
// What a PlyFile holds: the header, and what is asked of it and given to it.
#pragma once

#include "tinyply.h"

#include <map>
#include <stdexcept>
#include <utility>

namespace TESK_ZAN::PLY
{

// Where one requested property goes: the interleaved rows of a request, at its place in the order of the
// request.
struct PropertyLookup {
    std::shared_ptr<PlyData> pData;
    std::size_t slot = 0;         // counts the properties of the request
    std::size_t listSizeHint = 0; // 0: lists of any length
};

// The caller's rows for consecutive properties of one element.
struct PropertySource {
    std::size_t element = 0;
    std::size_t firstProperty = 0;
    std::size_t numProperties = 0;
    const std::uint8_t* data = nullptr; // not owned
};

struct PlyFile::PlyFileImpl {
    bool isBinary = false;
    bool isBigEndian = false;
    int textPrecision = 6;             // significant digits
    std::vector<PlyElement> vElements; // in the order of the header
    std::vector<std::string> vComments;
    std::vector<std::string> vInfos;
    std::map<std::pair<std::size_t, std::size_t>, PropertyLookup> mLookups; // by element and property
    std::vector<PropertySource> vSources;

    // tinyply.cpp
    bool parseHeader(std::istream& in);
    std::shared_ptr<PlyData> requestProperties(const std::string& elementKey,
                                               const std::vector<std::string>& vPropertyKeys,
                                               std::size_t listSizeHint);
    void addProperties(const std::string& elementKey, const std::vector<std::string>& vPropertyKeys,
                       Type type, std::size_t count, const void* data, Type listType, std::size_t listCount);

    // tinyply_read.cpp
    void read(std::istream& in);

    // tinyply_write.cpp
    void write(std::ostream& out) const;
};

// A type that a value can have; INVALID throws.
inline std::size_t checkedSize(Type t)
{
    if (t == Type::INVALID)
        throw std::invalid_argument("invalid ply property");
    return infoOf(t).size;
}

} // namespace TESK_ZAN::PLY
