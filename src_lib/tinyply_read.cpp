#include "blockStreams.h"
#include "messages.h"
#include "numberText.h"
#include "tinyply.h"
#include "tinyplyImpl.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace TESK_ZAN::PLY
{

namespace
{

using u64 = std::uint64_t;

[[noreturn]] void throwTruncated(const std::string& elementName)
{
    throw std::runtime_error("the file ends within element " + elementName);
}

// ---- values ----

template <class T>
T load(const char* p)
{
    T value;
    std::memcpy(&value, p, sizeof(T));
    return value;
}

template <class T>
u64 nonNegative(T value)
{
    if (value < 0)
        throw std::runtime_error("a list has a negative count");
    return u64(value);
}

u64 loadCount(Type type, const char* p)
{
    switch (type) {
    case Type::INT8:
        return nonNegative(load<std::int8_t>(p));
    case Type::UINT8:
        return load<std::uint8_t>(p);
    case Type::INT16:
        return nonNegative(load<std::int16_t>(p));
    case Type::UINT16:
        return load<std::uint16_t>(p);
    case Type::INT32:
        return nonNegative(load<std::int32_t>(p));
    case Type::UINT32:
        return load<std::uint32_t>(p);
    default:
        throw std::invalid_argument("a list count has to be an integer");
    }
}

u64 loadCount(Type type, const char* p, bool bSwap)
{
    if (!bSwap)
        return loadCount(type, p);
    char bytes[8];
    std::reverse_copy(p, p + infoOf(type).size, bytes);
    return loadCount(type, bytes);
}

template <std::size_t N>
void swapEach(std::uint8_t* p, std::size_t numBytes)
{
    for (std::size_t i = 0; i + N <= numBytes; i += N)
        std::reverse(p + i, p + i + N);
}

void swapBytes(PlyData& data)
{
    switch (infoOf(data.t).size) {
    case 2:
        return swapEach<2>(data.buffer.get(), data.buffer.size());
    case 4:
        return swapEach<4>(data.buffer.get(), data.buffer.size());
    case 8:
        return swapEach<8>(data.buffer.get(), data.buffer.size());
    default:
        messageStream() << "unhandled type\n"; // single bytes have no order: nothing is left to do
    }
}

// ---- rows in memory ----

template <std::size_t N>
void copyRows(const char* src, std::size_t srcStride, std::uint8_t* dst, std::size_t dstStride,
              std::size_t num)
{
    for (std::size_t i = 0; i < num; ++i)
        std::memcpy(dst + i * dstStride, src + i * srcStride, N);
}

// numBytes out of each of num rows. The usual sizes are compiled in, which makes each copy one or two moves.
void copyRows(const char* src, std::size_t srcStride, std::uint8_t* dst, std::size_t dstStride,
              std::size_t num, std::size_t numBytes)
{
    if (num == 0 || numBytes == 0)
        return; // there may be no memory to copy from
    if (numBytes == srcStride && numBytes == dstStride) {
        std::memcpy(dst, src, num * numBytes);
        return;
    }
    switch (numBytes) {
    case 1:
        return copyRows<1>(src, srcStride, dst, dstStride, num);
    case 2:
        return copyRows<2>(src, srcStride, dst, dstStride, num);
    case 3:
        return copyRows<3>(src, srcStride, dst, dstStride, num);
    case 4:
        return copyRows<4>(src, srcStride, dst, dstStride, num);
    case 8:
        return copyRows<8>(src, srcStride, dst, dstStride, num);
    case 12:
        return copyRows<12>(src, srcStride, dst, dstStride, num);
    case 24:
        return copyRows<24>(src, srcStride, dst, dstStride, num);
    default:
        for (std::size_t i = 0; i < num; ++i)
            std::memcpy(dst + i * dstStride, src + i * srcStride, numBytes);
    }
}

// Takes binary rows of one element out of memory and puts what was requested into the buffers.
//
// Rows with lists have no fixed size, but in nearly all files all lists of a kind are equally long. So the
// decoder works in batches: it walks one row, counts how many rows behind it have the same counts and hence
// the same layout, and copies all of them column by column. Without lists everything in memory is one batch.
class RowDecoder
{
public:
    // bRequestedOnly: the rows consist of the requested properties alone.
    RowDecoder(const PlyElement& element, std::size_t iElement, PlyFile::PlyFileImpl& file,
               bool bRequestedOnly, bool bSwapCounts);

    // The least bytes that a row takes, lists being empty. At least 1 if the element has properties.
    u64 minRowSize() const;

    // Makes room for numRows rows of requests whose rows have a fixed size; no more than numBytes can fill.
    void reserve(u64 numRows, u64 numBytes);

    // Decodes the complete rows at p, at most numRows of them, and counts numRows down. Returns the bytes
    // used.
    std::size_t decode(const char* p, std::size_t numBytes, u64& numRows);

    // After decode left rows over: how many bytes the next step takes, counted from the first byte not used.
    u64 numNeeded() const { return needed; }

private:
    struct Column {
        std::size_t valueSize = 0;
        Type countType = Type::INVALID;
        std::size_t countSize = 0; // 0: a plain value
        std::size_t listSizeHint = 0;
        // the present layout
        u64 numValues = 1;
        u64 offset = 0; // of the first value in the row
    };
    struct Group {
        PlyData* pData = nullptr;
        std::vector<std::size_t> vColumns; // in the order of the request
    };

    void assign(std::size_t iColumn, const PropertyLookup& lookup);
    bool layOutRow(const char* p, std::size_t numBytes);
    std::size_t countEqualRows(const char* p, std::size_t maxRows) const;
    void copyBatch(const char* p, std::size_t numRows);
    void recordLists(const Group& group, std::size_t numRows) const;

    const PlyElement& element;
    const bool bSwapCounts;
    std::vector<Column> vColumns;
    std::vector<std::size_t> vLists; // columns that are lists
    std::vector<Group> vGroups;
    u64 rowSize = 0;
    u64 needed = 0;
};

RowDecoder::RowDecoder(const PlyElement& element_, std::size_t iElement, PlyFile::PlyFileImpl& file,
                       bool bRequestedOnly, bool bSwapCounts_)
    : element(element_), bSwapCounts(bSwapCounts_)
{
    for (std::size_t i = 0; i < element.vProperties.size(); ++i) {
        const PlyProperty& property = element.vProperties[i];
        Column column;
        column.valueSize = checkedSize(property.propertyType);
        if (property.isList) {
            column.countType = property.listType;
            column.countSize = checkedSize(property.listType);
        }
        const auto q = file.mLookups.find({iElement, i});
        if (q != file.mLookups.end()) {
            column.listSizeHint = q->second.listSizeHint;
            assign(vColumns.size(), q->second);
        } else if (bRequestedOnly) {
            continue;
        }
        if (property.isList)
            vLists.push_back(vColumns.size());
        vColumns.push_back(column);
    }
}

// Gives a column its place in the rows of its request.
void RowDecoder::assign(std::size_t iColumn, const PropertyLookup& lookup)
{
    auto q = std::find_if(vGroups.begin(), vGroups.end(),
                          [&](const Group& group) { return group.pData == lookup.pData.get(); });
    if (q == vGroups.end())
        q = vGroups.insert(q, Group{lookup.pData.get(), {}});
    if (q->vColumns.size() <= lookup.slot)
        q->vColumns.resize(lookup.slot + 1);
    q->vColumns[lookup.slot] = iColumn;
}

u64 RowDecoder::minRowSize() const
{
    u64 size = 0;
    for (const Column& column : vColumns)
        size += column.countSize > 0 ? column.countSize : column.valueSize;
    return size;
}

void RowDecoder::reserve(u64 numRows, u64 numBytes)
{
    if (vGroups.empty())
        return;
    u64 size = 0;
    for (const Column& column : vColumns)
        size += column.countSize + column.valueSize * (column.countSize > 0 ? column.listSizeHint : 1);
    const u64 maxRows = std::min(numRows, numBytes / size);
    for (const Group& group : vGroups) {
        u64 groupSize = 0;
        bool bFixed = true;
        for (std::size_t i : group.vColumns) {
            const Column& column = vColumns[i];
            groupSize += column.valueSize * (column.countSize > 0 ? column.listSizeHint : 1);
            bFixed = bFixed && (column.countSize == 0 || column.listSizeHint > 0);
        }
        if (bFixed)
            group.pData->buffer.reserve(std::size_t(maxRows * groupSize));
    }
}

std::size_t RowDecoder::decode(const char* p, std::size_t numBytes, u64& numRows)
{
    std::size_t used = 0;
    while (numRows > 0 && layOutRow(p + used, numBytes - used)) {
        const u64 maxRows = std::min(numRows, (numBytes - used) / rowSize);
        const std::size_t numBatch = countEqualRows(p + used, std::size_t(maxRows));
        copyBatch(p + used, numBatch);
        used += numBatch * std::size_t(rowSize);
        numRows -= numBatch;
    }
    return used;
}

// Finds where each column of the row at p stands. False if the row is not there whole.
bool RowDecoder::layOutRow(const char* p, std::size_t numBytes)
{
    u64 offset = 0;
    for (Column& column : vColumns) {
        if (column.countSize > 0) {
            needed = offset + column.countSize;
            if (needed > numBytes)
                return false;
            column.numValues = loadCount(column.countType, p + offset, bSwapCounts);
            if (column.listSizeHint > 0 && column.numValues != column.listSizeHint)
                throw std::runtime_error("a list of " + std::to_string(column.numValues) +
                                         " values in element " + element.name +
                                         ", expected: " + std::to_string(column.listSizeHint));
            offset = needed;
        }
        column.offset = offset;
        offset += column.numValues * column.valueSize;
    }
    rowSize = offset;
    needed = offset;
    return needed <= numBytes;
}

// How many rows from p on have the list counts of the first one.
std::size_t RowDecoder::countEqualRows(const char* p, std::size_t maxRows) const
{
    if (vLists.empty())
        return maxRows;
    for (std::size_t iRow = 1; iRow < maxRows; ++iRow) {
        const char* pRow = p + iRow * rowSize;
        for (std::size_t i : vLists) {
            const Column& column = vColumns[i];
            const u64 countOffset = column.offset - column.countSize;
            if (std::memcmp(p + countOffset, pRow + countOffset, column.countSize) != 0)
                return iRow;
        }
    }
    return maxRows;
}

void RowDecoder::copyBatch(const char* p, std::size_t numRows)
{
    for (const Group& group : vGroups) {
        std::size_t groupSize = 0;
        for (std::size_t i : group.vColumns)
            groupSize += std::size_t(vColumns[i].numValues) * vColumns[i].valueSize;
        std::uint8_t* dst = group.pData->buffer.extend(numRows * groupSize);
        for (std::size_t k = 0; k < group.vColumns.size();) {
            const u64 first = vColumns[group.vColumns[k]].offset;
            u64 end = first;
            for (; k < group.vColumns.size() && vColumns[group.vColumns[k]].offset == end; ++k)
                end += vColumns[group.vColumns[k]].numValues * vColumns[group.vColumns[k]].valueSize;
            copyRows(p + first, std::size_t(rowSize), dst, groupSize, numRows, std::size_t(end - first));
            dst += end - first; // columns that stand side by side on both sides are one copy
        }
        recordLists(group, numRows);
    }
}

// Without a hint the values alone do not tell where a list ends.
void RowDecoder::recordLists(const Group& group, std::size_t numRows) const
{
    const Column& column = vColumns[group.vColumns.front()];
    if (group.vColumns.size() > 1 || column.countSize == 0 || column.listSizeHint > 0)
        return;
    std::vector<PlyData::ListRun>& vRuns = group.pData->vListRuns;
    const auto numValues = static_cast<std::size_t>(column.numValues);
    if (!vRuns.empty() && vRuns.back().numValues == numValues)
        vRuns.back().numRows += numRows;
    else
        vRuns.push_back({numRows, numValues});
}

// ---- bodies ----

void readBinaryRows(BlockReader& reader, u64 numBytes, const PlyElement& element, RowDecoder& decoder)
{
    u64 numRows = element.size;
    for (;;) {
        reader.skip(decoder.decode(reader.data(), reader.size(), numRows));
        if (numRows == 0)
            return;
        const u64 needed = decoder.numNeeded();
        if (needed > numBytes - reader.consumed() || reader.fill(std::size_t(needed)) < needed)
            throwTruncated(element.name);
    }
}

template <class Parsed, class Stored>
void encode(std::string_view token, Buffer& image)
{
    Parsed parsed;
    const char* end = token.data() + token.size();
    if (extractNumber(token.data(), end, parsed) != end)
        throw std::runtime_error("not a number that fits its type: " + std::string(token.substr(0, 40)));
    const Stored stored = Stored(parsed); // modulo for integers
    std::memcpy(image.extend(sizeof(Stored)), &stored, sizeof(Stored));
}

void encode(Type type, std::string_view token, Buffer& image)
{
    switch (type) {
    case Type::INT8:
        return encode<int, std::int8_t>(token, image);
    case Type::UINT8:
        return encode<unsigned, std::uint8_t>(token, image);
    case Type::INT16:
        return encode<int, std::int16_t>(token, image);
    case Type::UINT16:
        return encode<unsigned, std::uint16_t>(token, image);
    case Type::INT32:
        return encode<int, std::int32_t>(token, image);
    case Type::UINT32:
        return encode<unsigned, std::uint32_t>(token, image);
    case Type::FLOAT32:
        return encode<float, float>(token, image);
    case Type::FLOAT64:
        return encode<double, double>(token, image);
    default:
        throw std::invalid_argument("invalid ply property");
    }
}

// Turns rows of text into the bytes that their requested properties have in binary, so that one decoder
// serves both forms.
class TextRows
{
public:
    TextRows(BlockReader& reader_, const PlyElement& element_, std::vector<bool> vWanted_)
        : reader(reader_), element(element_), vWanted(std::move(vWanted_))
    {
    }

    void appendRow(Buffer& image)
    {
        for (std::size_t i = 0; i < element.vProperties.size(); ++i) {
            const PlyProperty& property = element.vProperties[i];
            const u64 numValues = property.isList ? readCount(property.listType, vWanted[i], image) : 1;
            for (u64 k = 0; k < numValues; ++k) {
                const std::string_view token = nextToken();
                if (vWanted[i])
                    encode(property.propertyType, token, image);
            }
        }
    }

private:
    std::string_view nextToken()
    {
        std::string_view token;
        if (!reader.nextToken(token))
            throwTruncated(element.name);
        return token;
    }

    // The count after narrowing to its type, since the decoder will see no other.
    u64 readCount(Type type, bool bWanted, Buffer& image)
    {
        Buffer& target = bWanted ? image : scratch;
        scratch.clear();
        const std::size_t first = target.size();
        encode(type, nextToken(), target);
        return loadCount(type, reinterpret_cast<const char*>(target.get() + first));
    }

    BlockReader& reader;
    const PlyElement& element;
    const std::vector<bool> vWanted; // by property: requested
    Buffer scratch;
};

void readTextRows(BlockReader& reader, const PlyElement& element, std::vector<bool> vWanted,
                  RowDecoder& decoder)
{
    constexpr std::size_t IMAGE_SIZE = std::size_t(1) << 16;
    TextRows rows(reader, element, std::move(vWanted));
    Buffer image;
    for (u64 numRows = element.size; numRows > 0;) {
        u64 numInImage = 0;
        for (; numInImage < numRows && image.size() < IMAGE_SIZE; ++numInImage)
            rows.appendRow(image);
        numRows -= numInImage;
        if (image.size() > 0) // else nothing of the element is wanted
            decoder.decode(reinterpret_cast<const char*>(image.get()), image.size(), numInImage);
        image.clear();
    }
}

// What a character of text can become: two of them, a digit and a blank, are a double at most.
constexpr u64 MAX_BYTES_PER_CHAR = 4;

// Nothing is allocated or looped over before it is clear that the file can hold that many rows.
void checkNumRows(const PlyElement& element, u64 minRowSize, u64 numBytes)
{
    if (element.size > numBytes / minRowSize)
        throw std::runtime_error("element " + element.name + " announces " + std::to_string(element.size) +
                                 " rows, more than the file holds");
}

void readBody(PlyFile::PlyFileImpl& file, std::istream& in, u64 numBytes)
{
    BlockReader reader(in);
    for (std::size_t i = 0; i < file.vElements.size(); ++i) {
        const PlyElement& element = file.vElements[i];
        if (element.size == 0 || element.vProperties.empty())
            continue; // takes no bytes, however many rows it announces
        RowDecoder decoder(element, i, file, !file.isBinary, file.isBinary && file.isBigEndian);
        const u64 numLeft = numBytes - std::min(numBytes, reader.consumed());
        if (file.isBinary) {
            checkNumRows(element, decoder.minRowSize(), numLeft);
            decoder.reserve(element.size, numLeft);
            readBinaryRows(reader, numBytes, element, decoder);
        } else {
            // A value takes a character and a separator, which the last one in the file may lack.
            checkNumRows(element, 2 * element.vProperties.size(), numLeft + 1);
            decoder.reserve(element.size, MAX_BYTES_PER_CHAR * numLeft);
            std::vector<bool> vWanted(element.vProperties.size());
            for (std::size_t k = 0; k < vWanted.size(); ++k)
                vWanted[k] = file.mLookups.contains({i, k});
            readTextRows(reader, element, std::move(vWanted), decoder);
        }
    }
}

} // namespace

void PlyFile::PlyFileImpl::read(std::istream& in)
{
    const std::optional<u64> numBytes = remainingBytes(in);
    if (!numBytes) { // a pipe: it has to be in memory before its length is known
        std::stringstream whole;
        whole << in.rdbuf();
        return read(whole);
    }
    readBody(*this, in, *numBytes);
    if (!(isBinary && isBigEndian))
        return;
    for (const auto& [key, lookup] : mLookups)
        if (lookup.slot == 0) // once for each request
            swapBytes(*lookup.pData);
}

} // namespace TESK_ZAN::PLY
