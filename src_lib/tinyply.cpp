#include "tinyply.h"

#include "numberText.h"
#include "tinyplyImpl.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <istream>
#include <ostream>
#include <stdexcept>

namespace TESK_ZAN::PLY
{

namespace
{

// Far more than any header has, few enough that what a hostile one makes of each line does not add up.
constexpr std::size_t MAX_HEADER_LINES = 100000;

// Cuts the next word off the front of the line; empty at the end.
std::string_view nextWord(std::string_view& line)
{
    const auto first = std::find_if_not(line.begin(), line.end(), isSpace);
    const auto last = std::find_if(first, line.end(), isSpace);
    const std::string_view word(first, last);
    line = std::string_view(last, line.end());
    return word;
}

// The text behind a keyword and one blank, without the CR of a foreign line end.
std::string textBehind(std::string_view line, std::size_t numChars)
{
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return std::string(line.substr(std::min(numChars, line.size())));
}

PlyElement parseElement(std::string_view rest)
{
    PlyElement element;
    element.name = nextWord(rest);
    const std::string_view size = nextWord(rest);
    const char* end = size.data() + size.size();
    const auto [ptr, ec] = std::from_chars(size.data(), end, element.size);
    if (ec != std::errc() || ptr != end)
        throw std::runtime_error("element " + element.name +
                                 " has no valid number of rows: " + std::string(size));
    return element;
}

PlyProperty parseProperty(std::string_view rest)
{
    PlyProperty property;
    std::string_view word = nextWord(rest);
    if (word == "list") {
        property.isList = true;
        property.listType = typeFromWord(nextWord(rest));
        word = nextWord(rest);
    }
    property.propertyType = typeFromWord(word);
    property.name = nextWord(rest);
    return property;
}

std::size_t findElement(const std::vector<PlyElement>& vElements, const std::string& name)
{
    const auto q = std::find_if(vElements.begin(), vElements.end(),
                                [&](const PlyElement& element) { return element.name == name; });
    return std::size_t(q - vElements.begin());
}

std::size_t findProperty(const PlyElement& element, const std::string& name)
{
    const auto q = std::find_if(element.vProperties.begin(), element.vProperties.end(),
                                [&](const PlyProperty& property) { return property.name == name; });
    return std::size_t(q - element.vProperties.begin());
}

// The largest count that a list of this type can tell. Counts are integers.
std::size_t maxListCount(Type listType)
{
    switch (listType) {
    case Type::INT8:
        return 0x7f;
    case Type::UINT8:
        return 0xff;
    case Type::INT16:
        return 0x7fff;
    case Type::UINT16:
        return 0xffff;
    case Type::INT32:
        return 0x7fffffff;
    case Type::UINT32:
        return 0xffffffff;
    default:
        throw std::invalid_argument("a list count has to be an integer");
    }
}

} // namespace

Type typeFromWord(std::string_view word)
{
    for (std::size_t i = 1; i < PropertyInfo.size(); ++i)
        if (word == PropertyInfo[i].word || word == PropertyInfo[i].sizedWord)
            return Type(i);
    return Type::INVALID;
}

void Buffer::reserve(std::size_t numTotal)
{
    if (numTotal <= capacity)
        return;
    auto pNew = std::make_unique_for_overwrite<std::uint8_t[]>(numTotal);
    if (numBytes > 0)
        std::memcpy(pNew.get(), pBytes.get(), numBytes);
    pBytes = std::move(pNew);
    capacity = numTotal;
}

std::uint8_t* Buffer::extend(std::size_t numMore)
{
    const std::size_t first = numBytes;
    if (first + numMore > capacity)
        reserve(std::max(first + numMore, capacity + capacity / 2));
    numBytes += numMore;
    return pBytes.get() + first;
}

bool PlyFile::PlyFileImpl::parseHeader(std::istream& in)
{
    std::string line;
    for (std::size_t numLines = 1; std::getline(in, line); ++numLines) {
        if (numLines > MAX_HEADER_LINES)
            throw std::runtime_error("the header has more than " + std::to_string(MAX_HEADER_LINES) +
                                     " lines");
        std::string_view rest = line;
        const std::string_view word = nextWord(rest);
        if (word.empty() || word == "ply" || word == "PLY")
            continue;
        if (word == "comment") {
            vComments.push_back(textBehind(line, 8));
        } else if (word == "obj_info") {
            vInfos.push_back(textBehind(line, 9));
        } else if (word == "format") {
            const std::string_view format = nextWord(rest);
            isBinary = isBinary || format == "binary_little_endian" || format == "binary_big_endian";
            isBigEndian = isBigEndian || format == "binary_big_endian";
        } else if (word == "element") {
            vElements.push_back(parseElement(rest));
        } else if (word == "property") {
            if (vElements.empty())
                throw std::runtime_error("no elements defined; file is malformed");
            vElements.back().vProperties.push_back(parseProperty(rest));
        } else {
            return word == "end_header";
        }
    }
    return false;
}

std::shared_ptr<PlyData> PlyFile::PlyFileImpl::requestProperties(
    const std::string& elementKey, const std::vector<std::string>& vPropertyKeys, std::size_t listSizeHint)
{
    if (vElements.empty())
        throw std::runtime_error("header had no elements defined. malformed file?");
    if (elementKey.empty())
        throw std::invalid_argument("`elementKey` argument is empty");
    if (vPropertyKeys.empty())
        throw std::invalid_argument("`propertyKeys` argument is empty");
    const std::size_t iElement = findElement(vElements, elementKey);
    if (iElement == vElements.size())
        throw std::invalid_argument("the element key was not found in the header: " + elementKey);

    const PlyElement& element = vElements[iElement];
    auto pData = std::make_shared<PlyData>();
    pData->count = std::size_t(element.size);
    std::map<std::pair<std::size_t, std::size_t>, PropertyLookup> mNew;
    std::string missing;
    for (const std::string& key : vPropertyKeys) {
        const std::size_t iProperty = findProperty(element, key);
        if (iProperty == element.vProperties.size()) {
            missing += key + ", ";
            continue;
        }
        const PlyProperty& property = element.vProperties[iProperty];
        pData->t = mNew.empty() || pData->t == property.propertyType ? property.propertyType : Type::INVALID;
        pData->isList = pData->isList || property.isList;
        const PropertyLookup lookup{pData, mNew.size(), property.isList ? listSizeHint : 0};
        if (mLookups.contains({iElement, iProperty}) ||
            !mNew.emplace(std::pair(iElement, iProperty), lookup).second)
            throw std::invalid_argument("element-property key has already been requested: " + elementKey +
                                        key);
    }
    if (!missing.empty())
        throw std::invalid_argument("the following property keys were not found in the header: " + missing);
    mLookups.merge(mNew);
    return pData;
}

void PlyFile::PlyFileImpl::addProperties(const std::string& elementKey,
                                         const std::vector<std::string>& vPropertyKeys, Type type,
                                         std::size_t count, const void* data, Type listType,
                                         std::size_t listCount)
{
    const bool bList = listType != Type::INVALID;
    if (bList && listCount > maxListCount(listType))
        throw std::invalid_argument("lists of element " + elementKey + " are too long for their count");
    const std::size_t iElement = findElement(vElements, elementKey);
    if (iElement == vElements.size())
        vElements.push_back({elementKey, count, {}});
    PlyElement& element = vElements[iElement];
    if (element.size != count)
        throw std::invalid_argument("element " + elementKey + " was given another number of rows before");
    vSources.push_back(
        {iElement, element.vProperties.size(), vPropertyKeys.size(), static_cast<const std::uint8_t*>(data)});
    for (const std::string& key : vPropertyKeys)
        element.vProperties.push_back({key, type, bList, listType, bList ? listCount : 0});
}

PlyFile::PlyFile() : pImpl(std::make_unique<PlyFileImpl>()) {}

PlyFile::~PlyFile() = default;

bool PlyFile::parseHeader(std::istream& in)
{
    return pImpl->parseHeader(in);
}

std::shared_ptr<PlyData> PlyFile::requestProperties(const std::string& elementKey,
                                                    const std::vector<std::string>& vPropertyKeys,
                                                    std::size_t listSizeHint)
{
    return pImpl->requestProperties(elementKey, vPropertyKeys, listSizeHint);
}

void PlyFile::read(std::istream& in)
{
    pImpl->read(in);
}

void PlyFile::addProperties(const std::string& elementKey, const std::vector<std::string>& vPropertyKeys,
                            Type type, std::size_t count, const void* data, Type listType,
                            std::size_t listCount)
{
    pImpl->addProperties(elementKey, vPropertyKeys, type, count, data, listType, listCount);
}

void PlyFile::write(std::ostream& out, bool isBinary, int textPrecision)
{
    pImpl->textPrecision = textPrecision;
    pImpl->isBinary = isBinary;
    pImpl->isBigEndian = false;
    pImpl->write(out);
}

const std::vector<PlyElement>& PlyFile::getElements() const
{
    return pImpl->vElements;
}

const std::vector<std::string>& PlyFile::getComments() const
{
    return pImpl->vComments;
}

const std::vector<std::string>& PlyFile::getInfos() const
{
    return pImpl->vInfos;
}

bool PlyFile::isBinary() const
{
    return pImpl->isBinary;
}

bool PlyFile::isBigEndian() const
{
    return pImpl->isBigEndian;
}

} // namespace TESK_ZAN::PLY
