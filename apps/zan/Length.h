// A length as a user gives it: in units of the input, or with the suffix c in cells.
#pragma once

#include <istream>
#include <string>

struct Length {
    double inUnits(double cellSize) const { return bCells ? value * cellSize : value; }

    double value = 0.0;
    bool bCells = false;
};

// Takes a word such as "0.5", "2c" or "inf"; sets the fail bit for others, and for negative ones.
std::istream& operator>>(std::istream& in, Length& length);

// The check of an option value: empty for a good one, else what is wrong.
std::string isLength(const std::string& text);
