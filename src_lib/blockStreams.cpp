#include "blockStreams.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

// Large enough that calls to the system do not show, small enough to stay in the second-level cache.
constexpr std::size_t BLOCK_SIZE = std::size_t(1) << 18;

} // namespace

std::optional<std::uint64_t> remainingBytes(std::istream& in)
{
    std::streambuf* pBuffer = in.rdbuf();
    const std::streamoff here = pBuffer->pubseekoff(0, std::ios::cur, std::ios::in);
    if (here < 0)
        return std::nullopt;
    const std::streamoff end = pBuffer->pubseekoff(0, std::ios::end, std::ios::in);
    pBuffer->pubseekpos(here, std::ios::in);
    if (end < 0)
        return std::nullopt;
    return std::uint64_t(std::max(end - here, std::streamoff(0)));
}

BlockReader::BlockReader(std::istream& source)
    : in(source),
      capacity(std::size_t(std::min<std::uint64_t>(BLOCK_SIZE, remainingBytes(in).value_or(BLOCK_SIZE) + 1)))
{
    pBlock = std::make_unique_for_overwrite<char[]>(capacity);
}

std::size_t BlockReader::fill(std::size_t num)
{
    if (size() >= num)
        return size();
    const std::size_t numKept = size();
    if (num > capacity) {
        const std::size_t newCapacity = std::max(num, 2 * capacity);
        auto pNew = std::make_unique_for_overwrite<char[]>(newCapacity);
        std::memcpy(pNew.get(), data(), numKept);
        pBlock = std::move(pNew);
        capacity = newCapacity;
    } else {
        std::memmove(pBlock.get(), data(), numKept);
    }
    numBefore += first;
    first = 0;
    last = numKept;
    while (last < num && in) {
        in.read(pBlock.get() + last, std::streamsize(capacity - last));
        last += std::size_t(in.gcount());
    }
    return size();
}

// The index in the window, from `from` on, of the first byte that ends a line or a token; reads on for it.
// The size of the window if the stream ends before.
template <class IsEnd>
std::size_t BlockReader::findEnd(std::size_t from, IsEnd isEnd)
{
    for (;;) {
        const char* p = data();
        const std::size_t i = isEnd(p, from, size());
        if (i < size())
            return i;
        from = size();
        if (fill(from + 1) == from)
            return from;
    }
}

bool BlockReader::nextLine(std::string_view& line)
{
    const std::size_t length = findEnd(0, [](const char* p, std::size_t from, std::size_t num) {
        const void* q = from < num ? std::memchr(p + from, '\n', num - from) : nullptr;
        return q != nullptr ? std::size_t(static_cast<const char*>(q) - p) : num;
    });
    if (length == size() && length == 0)
        return false;
    line = {data(), length};
    skip(std::min(length + 1, size()));
    return true;
}

bool BlockReader::nextToken(std::string_view& token)
{
    for (;;) { // over the white space, which need not stay in the window
        while (first != last && isSpace(pBlock[first]))
            ++first;
        if (first != last)
            break;
        if (fill(1) == 0)
            return false;
    }
    const std::size_t length = findEnd(1, [](const char* p, std::size_t from, std::size_t num) {
        while (from < num && !isSpace(p[from]))
            ++from;
        return from;
    });
    token = {data(), length};
    skip(length);
    return true;
}

bool BlockReader::failed() const
{
    return in.bad();
}

BlockWriter::BlockWriter(std::ostream& target)
    : out(target), pBlock(std::make_unique_for_overwrite<char[]>(BLOCK_SIZE)), capacity(BLOCK_SIZE)
{
}

char* BlockWriter::room(std::size_t num)
{
    if (capacity - last < num) {
        flush();
        if (capacity < num) {
            pBlock = std::make_unique_for_overwrite<char[]>(num);
            capacity = num;
        }
    }
    return pBlock.get() + last;
}

void BlockWriter::text(std::string_view t)
{
    char* p = room(t.size());
    std::copy(t.begin(), t.end(), p);
    advanceTo(p + t.size());
}

void BlockWriter::flush()
{
    out.write(pBlock.get(), std::streamsize(last));
    last = 0;
}

} // namespace TESK_ZAN
