// The results of a command on the standard output: one "label value" line each, the values below each other.
#pragma once

#include <string>

void reportLine(const std::string& label, const std::string& value);
void reportLine(const std::string& label, std::size_t value);

// A length or coordinate with as many digits as help: nine for coordinates, six for spacings.
std::string number(double value, int numDigits);

// "0.12 s", and "123 MB" (10^6 bytes).
std::string secondsText(double seconds);
std::string megabytesText(double bytes);

// The largest memory the process has held so far, in bytes.
double peakMemory();
