#include "Length.h"

#include <charconv>
#include <sstream>

std::istream& operator>>(std::istream& in, Length& length)
{
    std::string word;
    in >> word;
    const char* end = word.data() + word.size();
    double value = 0.0;
    const auto [pBehind, error] = std::from_chars(word.data(), end, value);
    const bool bCells = pBehind + 1 == end && *pBehind == 'c';
    if (error != std::errc() || (pBehind != end && !bCells) || !(value >= 0.0))
        in.setstate(std::ios::failbit);
    else
        length = {value, bCells};
    return in;
}

std::string isLength(const std::string& text)
{
    std::istringstream in(text);
    Length length;
    return in >> length && in.peek() == std::istream::traits_type::eof()
               ? ""
               : "must be a length, 0 or more, in units of the input or with a suffix c in cells, is '" +
                     text + "'";
}
