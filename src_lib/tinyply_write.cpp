#include "blockStreams.h"
#include "numberText.h"
#include "tinyply.h"
#include "tinyplyImpl.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <ostream>
#include <string>
#include <type_traits>

namespace TESK_ZAN::PLY
{

namespace
{

void writeHeader(const PlyFile::PlyFileImpl& file, BlockWriter& writer)
{
    writer.text("ply\n");
    writer.text(file.isBinary ? "format binary_little_endian 1.0\n" : "format ascii 1.0\n");
    for (const std::string& comment : file.vComments)
        writer.text("comment " + comment + "\n");
    for (const PlyElement& element : file.vElements) {
        writer.text("element " + element.name + " " + std::to_string(element.size) + "\n");
        for (const PlyProperty& property : element.vProperties) {
            const std::string type = infoOf(property.propertyType).word;
            const std::string list =
                property.isList ? "list " + std::string(infoOf(property.listType).word) + " " : "";
            writer.text("property " + list + type + " " + property.name + "\n");
        }
    }
    writer.text("end_header\n");
}

// The bytes of one property in one row, in the caller's data.
struct Cell {
    const std::uint8_t* data = nullptr;
    std::size_t stride = 0;
    const PlyProperty* pProperty = nullptr;
    std::size_t valueSize = 0;
    std::size_t numValues = 1;
};

std::vector<Cell> cellsOf(const PlyFile::PlyFileImpl& file, std::size_t iElement)
{
    std::vector<Cell> vCells;
    for (const PropertySource& source : file.vSources) {
        if (source.element != iElement)
            continue;
        const std::size_t first = vCells.size();
        std::size_t stride = 0;
        for (std::size_t i = 0; i < source.numProperties; ++i) {
            const PlyProperty& property = file.vElements[iElement].vProperties[source.firstProperty + i];
            Cell cell;
            cell.pProperty = &property;
            cell.data = source.data + stride;
            cell.valueSize = checkedSize(property.propertyType);
            cell.numValues = property.isList ? property.listCount : 1;
            stride += cell.valueSize * cell.numValues;
            vCells.push_back(cell);
        }
        for (std::size_t i = first; i < vCells.size(); ++i)
            vCells[i].stride = stride;
    }
    return vCells;
}

// ---- binary ----

// A run of bytes that every row takes from the caller's data (or, with stride 0, that all rows share).
struct Piece {
    const std::uint8_t* data = nullptr;
    std::size_t stride = 0;
    std::size_t numBytes = 0;
};

// Properties that lie side by side in the data are one piece. vCounts keeps the bytes of the list counts.
std::vector<Piece> piecesOf(const std::vector<Cell>& vCells, std::vector<std::uint32_t>& vCounts)
{
    vCounts.reserve(vCells.size()); // the pieces point into it
    std::vector<Piece> vPieces;
    for (const Cell& cell : vCells) {
        if (cell.pProperty->isList) {
            vCounts.push_back(std::uint32_t(cell.numValues)); // little-endian: the low bytes come first
            vPieces.push_back({reinterpret_cast<const std::uint8_t*>(&vCounts.back()), 0,
                               infoOf(cell.pProperty->listType).size});
        }
        const std::size_t numBytes = cell.valueSize * cell.numValues;
        if (!vPieces.empty() && vPieces.back().stride == cell.stride &&
            vPieces.back().data + vPieces.back().numBytes == cell.data)
            vPieces.back().numBytes += numBytes;
        else
            vPieces.push_back({cell.data, cell.stride, numBytes});
    }
    return vPieces;
}

template <std::size_t N>
void copyRows(const Piece& piece, std::size_t iFirst, std::size_t num, char* dst, std::size_t dstStride)
{
    const std::uint8_t* src = piece.data + iFirst * piece.stride;
    for (std::size_t i = 0; i < num; ++i)
        std::memcpy(dst + i * dstStride, src + i * piece.stride, N);
}

// The usual sizes are compiled in, which makes each copy one or two moves.
void copyRows(const Piece& piece, std::size_t iFirst, std::size_t num, char* dst, std::size_t dstStride)
{
    switch (piece.numBytes) {
    case 1:
        return copyRows<1>(piece, iFirst, num, dst, dstStride);
    case 4:
        return copyRows<4>(piece, iFirst, num, dst, dstStride);
    case 12:
        return copyRows<12>(piece, iFirst, num, dst, dstStride);
    default:
        for (std::size_t i = 0; i < num; ++i)
            std::memcpy(dst + i * dstStride, piece.data + (iFirst + i) * piece.stride, piece.numBytes);
    }
}

void writeBinaryRows(const std::vector<Cell>& vCells, std::size_t numRows, BlockWriter& writer)
{
    constexpr std::size_t BATCH = 2048; // rows whose pieces stay in the first-level cache
    std::vector<std::uint32_t> vCounts;
    const std::vector<Piece> vPieces = piecesOf(vCells, vCounts);
    std::size_t rowSize = 0;
    for (const Piece& piece : vPieces)
        rowSize += piece.numBytes;
    for (std::size_t i = 0; i < numRows; i += BATCH) {
        const std::size_t num = std::min(BATCH, numRows - i);
        char* p = writer.room(num * rowSize);
        std::size_t offset = 0;
        for (const Piece& piece : vPieces) {
            copyRows(piece, i, num, p + offset, rowSize);
            offset += piece.numBytes;
        }
        writer.advanceTo(p + num * rowSize);
    }
}

// ---- text ----

template <class T>
char* printValue(char* p, const std::uint8_t* src, [[maybe_unused]] int precision)
{
    T value;
    std::memcpy(&value, src, sizeof(T));
    if constexpr (std::is_integral_v<T>)
        return std::to_chars(p, p + MAX_NUMBER_CHARS, value).ptr;
    else
        return printNumber(p, double(value), precision);
}

char* printValue(char* p, Type type, const std::uint8_t* src, int precision)
{
    switch (type) {
    case Type::INT8:
        return printValue<std::int8_t>(p, src, precision);
    case Type::UINT8:
        return printValue<std::uint8_t>(p, src, precision);
    case Type::INT16:
        return printValue<std::int16_t>(p, src, precision);
    case Type::UINT16:
        return printValue<std::uint16_t>(p, src, precision);
    case Type::INT32:
        return printValue<std::int32_t>(p, src, precision);
    case Type::UINT32:
        return printValue<std::uint32_t>(p, src, precision);
    case Type::FLOAT32:
        return printValue<float>(p, src, precision);
    default:
        return printValue<double>(p, src, precision);
    }
}

// Each value and each list count with a blank behind it, the last one of a row too.
void writeTextRows(const std::vector<Cell>& vCells, std::size_t numRows, int precision, BlockWriter& writer)
{
    std::size_t maxRow = 1;
    for (const Cell& cell : vCells)
        maxRow += (cell.numValues + 1) * (MAX_NUMBER_CHARS + 1);
    for (std::size_t i = 0; i < numRows; ++i) {
        char* p = writer.room(maxRow);
        for (const Cell& cell : vCells) {
            if (cell.pProperty->isList) {
                p = std::to_chars(p, p + MAX_NUMBER_CHARS, cell.numValues).ptr;
                *p++ = ' ';
            }
            const std::uint8_t* src = cell.data + i * cell.stride;
            for (std::size_t k = 0; k < cell.numValues; ++k) {
                p = printValue(p, cell.pProperty->propertyType, src + k * cell.valueSize, precision);
                *p++ = ' ';
            }
        }
        *p++ = '\n';
        writer.advanceTo(p);
    }
}

} // namespace

void PlyFile::PlyFileImpl::write(std::ostream& out) const
{
    BlockWriter writer(out);
    writeHeader(*this, writer);
    for (std::size_t i = 0; i < vElements.size(); ++i) {
        const std::size_t numRows = std::size_t(vElements[i].size);
        if (numRows == 0)
            continue; // there need not be any data then
        const std::vector<Cell> vCells = cellsOf(*this, i);
        if (isBinary)
            writeBinaryRows(vCells, numRows, writer);
        else
            writeTextRows(vCells, numRows, textPrecision, writer);
    }
    writer.flush();
}

} // namespace TESK_ZAN::PLY
