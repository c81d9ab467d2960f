#include "ProgressBar.h"

#include <zan/zan_api_functions.h>

#include <algorithm>
#include <iostream>

#include <unistd.h>

namespace
{

constexpr int WIDTH = 40;                      // of the bar, in characters
constexpr const char* ERASE_LINE = "\r\033[K"; // back to its start, then clear to its end

} // namespace

ProgressBar::ProgressBar()
{
    if (isatty(STDERR_FILENO) != 0)
        TESK_ZAN::subscribe(this);
}

ProgressBar::~ProgressBar()
{
    if (percentShown >= 0)
        std::cerr << ERASE_LINE << std::flush;
}

void ProgressBar::progressChanged(const std::string& treeName, double fraction)
{
    const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100.0);
    if (percent == percentShown)
        return;
    percentShown = percent;
    const auto numFull = static_cast<std::size_t>(percent * WIDTH / 100);
    std::cerr << ERASE_LINE << treeName << " [" << std::string(numFull, '#')
              << std::string(WIDTH - numFull, '.') << "] " << percent << " %" << std::flush;
}
