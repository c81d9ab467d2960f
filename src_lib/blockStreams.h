// Subsystem: files. Builds on: numberText. Used by: pointFiles, tinyply, meshWriters.
// Streams in large blocks: what reads and writes files of millions of records goes through these two, so that
// the stream is called once per block and not once per number.
#pragma once

#include "numberText.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string_view>

namespace TESK_ZAN
{

// The bytes between the position of the stream and its end, the position being kept. Empty if the stream
// can't tell, as a pipe can't.
std::optional<std::uint64_t> remainingBytes(std::istream& in);

// A window on the rest of a stream that can be moved forwards and grows to what is asked of it.
class BlockReader
{
public:
    explicit BlockReader(std::istream& source);

    // The bytes in the window; the place changes with each fill, nextLine and nextToken.
    const char* data() const { return pBlock.get() + first; }
    std::size_t size() const { return last - first; }

    // Reads on until the window has at least num bytes or the stream ends. Returns size().
    std::size_t fill(std::size_t num);

    // Drops the first num bytes of the window.
    void skip(std::size_t num) { first += num; }

    // Takes the next line out of the window, without its line feed. False at the end of the stream. The view
    // is valid until the next call. The window grows to the longest line.
    bool nextLine(std::string_view& line);

    // The same with the next sequence of characters other than white space.
    bool nextToken(std::string_view& token);

    // Bytes dropped or taken so far.
    std::uint64_t consumed() const { return numBefore + first; }

    // True if the stream ended by an error of the device and not at its end.
    bool failed() const;

private:
    template <class IsEnd>
    std::size_t findEnd(std::size_t from, IsEnd isEnd);

    std::istream& in;
    std::unique_ptr<char[]> pBlock;
    std::size_t capacity;
    std::size_t first = 0;       // of the window
    std::size_t last = 0;        // behind the window
    std::uint64_t numBefore = 0; // bytes of the stream before pBlock
};

// Collects bytes and hands them to the stream in blocks. flush() at the end is the caller's, as is the test
// of the stream: once it fails, the rest is dropped.
class BlockWriter
{
public:
    explicit BlockWriter(std::ostream& target);
    BlockWriter(const BlockWriter&) = delete;
    BlockWriter& operator=(const BlockWriter&) = delete;

    // At least num writable bytes. What is written there counts as soon as its end is given to advanceTo.
    char* room(std::size_t num);
    void advanceTo(char* end) { last = std::size_t(end - pBlock.get()); }

    void text(std::string_view t);

    // As a stream of this precision writes it.
    void number(double value, int precision)
    {
        advanceTo(printNumber(room(MAX_NUMBER_CHARS), value, precision));
    }

    void flush();

private:
    std::ostream& out;
    std::unique_ptr<char[]> pBlock;
    std::size_t capacity;
    std::size_t last = 0;
};

} // namespace TESK_ZAN
