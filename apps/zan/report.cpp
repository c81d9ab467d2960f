#include "report.h"

#include <iomanip>
#include <iostream>
#include <sstream>

#include <sys/resource.h>

void reportLine(const std::string& label, const std::string& value)
{
    constexpr int LABEL_WIDTH = 20;
    std::cout << std::left << std::setw(LABEL_WIDTH) << label << value << '\n';
}

void reportLine(const std::string& label, std::size_t value)
{
    reportLine(label, std::to_string(value));
}

std::string number(double value, int numDigits)
{
    std::ostringstream text;
    text << std::setprecision(numDigits) << value;
    return text.str();
}

std::string secondsText(double seconds)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << seconds << " s";
    return text.str();
}

std::string megabytesText(double bytes)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(0) << bytes / 1e6 << " MB";
    return text.str();
}

double peakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0; // Linux counts in units of 1024 bytes
}
