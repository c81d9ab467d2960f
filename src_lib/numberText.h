// Subsystem: files. Builds on: nothing. Used by: pointFiles, tinyply, meshWriters, messages with numbers.
// Numbers from and to text, many times faster than streams and with the same results as a stream in the
// classic locale, whatever the locale of the process is.
#pragma once

#include <cstddef>
#include <string>

namespace TESK_ZAN
{

// Each does what `in >> value` does on a stream that holds [p, end): skips white space, takes all characters
// that can belong to a number and converts them. Returns the place behind the characters taken, or null where
// the stream would fail: no digits, an exponent without digits, a magnitude that is too large. Words such as
// "nan" and "inf" are no numbers. value is only written on success.
const char* extractNumber(const char* p, const char* end, double& value);
const char* extractNumber(const char* p, const char* end, float& value);
const char* extractNumber(const char* p, const char* end, int& value);
const char* extractNumber(const char* p, const char* end, unsigned& value); // "-1" is the largest value

// Room that printNumber may use, terminator excluded.
inline constexpr std::size_t MAX_NUMBER_CHARS = 32;

// Writes what a stream with this precision (1 to 18) writes in its default float format, no terminator.
// Returns the place behind the text.
char* printNumber(char* p, double value, int precision);

// The same with the usual six digits, for messages.
std::string numberToText(double value);

// White space of the classic locale: blank, tab, line feed, vertical tab, form feed, carriage return.
inline bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

} // namespace TESK_ZAN
