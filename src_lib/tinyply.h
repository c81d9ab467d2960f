// Subsystem: files. Builds on: blockStreams, numberText, messages. Used by: plyPoints, meshWriters.
// A small general reader and writer of the PLY format, on streams. It knows no vocabulary: the caller names
// elements and properties. Throws std::invalid_argument and std::runtime_error; its callers catch.
//
// What a file announces is never believed before it is there: memory stays within a small multiple of the
// file's length, and a body that is shorter than announced throws.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace TESK_ZAN::PLY
{

enum class Type : std::uint8_t { INVALID, INT8, UINT8, INT16, UINT16, INT32, UINT32, FLOAT32, FLOAT64 };

struct TypeInfo {
    const char* word;      // as written
    const char* sizedWord; // also understood
    std::size_t size;      // bytes
};

// By the value of a Type.
inline constexpr std::array<TypeInfo, 9> PropertyInfo{{{"INVALID", "INVALID", 0},
                                                       {"char", "int8", 1},
                                                       {"uchar", "uint8", 1},
                                                       {"short", "int16", 2},
                                                       {"ushort", "uint16", 2},
                                                       {"int", "int32", 4},
                                                       {"uint", "uint32", 4},
                                                       {"float", "float32", 4},
                                                       {"double", "float64", 8}}};

inline const TypeInfo& infoOf(Type t)
{
    return PropertyInfo[static_cast<std::size_t>(t)];
}

// INVALID for a word that names no type.
Type typeFromWord(std::string_view word);

struct PlyProperty {
    std::string name;
    Type propertyType = Type::INVALID;
    bool isList = false;
    Type listType = Type::INVALID; // of the count; INVALID if no list
    std::size_t listCount = 0;     // entries of each list, for writing only
};

struct PlyElement {
    std::string name;
    std::uint64_t size = 0; // rows
    std::vector<PlyProperty> vProperties;
};

// Bytes that grow without being cleared first.
class Buffer
{
public:
    std::uint8_t* get() { return pBytes.get(); }
    const std::uint8_t* get() const { return pBytes.get(); }
    std::size_t size() const { return numBytes; }
    void clear() { numBytes = 0; }

    // Room for numTotal bytes without growing again; the size stays.
    void reserve(std::size_t numTotal);

    // Grows by numMore uninitialised bytes and returns the place of the first. Amortised constant per byte.
    std::uint8_t* extend(std::size_t numMore);

private:
    std::unique_ptr<std::uint8_t[]> pBytes;
    std::size_t numBytes = 0;
    std::size_t capacity = 0;
};

// What one request receives: row by row the values of its properties, interleaved in the order of the
// request, in the byte order of the machine.
struct PlyData {
    Type t = Type::INVALID; // INVALID also if the properties differ in type: such a request can't be read
    std::size_t count = 0;  // rows
    Buffer buffer;
    bool isList = false; // true if any of the properties is a list

    // Of a request of one list property without size hint: how long the lists are, in the order of the rows.
    struct ListRun {
        std::size_t numRows = 0;
        std::size_t numValues = 0; // in each of them
    };
    std::vector<ListRun> vListRuns;
};

class PlyFile
{
public:
    struct PlyFileImpl;

    PlyFile();
    ~PlyFile();
    PlyFile(const PlyFile&) = delete;
    PlyFile& operator=(const PlyFile&) = delete;

    // Reads up to and including the line "end_header", behind which the stream stands then. False if the
    // header stopped before, at the end of the stream or at a line with an unknown first word: what follows
    // is no body.
    bool parseHeader(std::istream& in);

    // For the next read(). listSizeHint n > 0: each list has to have exactly n values; 0: any number.
    // A request that throws leaves no trace.
    std::shared_ptr<PlyData> requestProperties(const std::string& elementKey,
                                               const std::vector<std::string>& vPropertyKeys,
                                               std::size_t listSizeHint);

    // Fills all requests. The whole body is walked, so that a file that is cut short anywhere throws.
    void read(std::istream& in);

    // For write(). data: count rows of the properties' values, interleaved; it stays the caller's and must
    // outlive write(). A list property has listCount values in each row; listType INVALID: plain properties.
    void addProperties(const std::string& elementKey, const std::vector<std::string>& vPropertyKeys,
                       Type type, std::size_t count, const void* data, Type listType, std::size_t listCount);

    // Header and rows. Text form: 6 significant digits unless told otherwise. The caller tests the stream
    // afterwards.
    void write(std::ostream& out, bool isBinary, int textPrecision = 6);

    const std::vector<PlyElement>& getElements() const;
    const std::vector<std::string>& getComments() const;
    const std::vector<std::string>& getInfos() const; // the obj_info lines
    bool isBinary() const;
    bool isBigEndian() const;

private:
    std::unique_ptr<PlyFileImpl> pImpl;
};

} // namespace TESK_ZAN::PLY
