#include "ProgressDisplay.h"

#include "cancelling.h"

#include <zan/zan_api_functions.h>

#include <algorithm>
#include <iostream>

#include <unistd.h>

namespace
{

constexpr int WIDTH = 40;                      // of the bar, in characters
constexpr const char* ERASE_LINE = "\r\033[K"; // back to its start, then clear to its end
constexpr std::chrono::seconds LINE_PAUSE(3);  // between plain lines

} // namespace

ProgressDisplay::ProgressDisplay(bool bShow)
    : bShown(bShow), bTerminal(isatty(STDERR_FILENO) != 0), lastLine(std::chrono::steady_clock::now())
{
    TESK_ZAN::subscribe(this);
}

ProgressDisplay::~ProgressDisplay()
{
    eraseBar();
}

void ProgressDisplay::setStage(const std::string& name)
{
    eraseBar();
    stage = name;
    percent = 0;
    lastLine = std::chrono::steady_clock::now();
    if (bShown && bTerminal)
        draw();
}

void ProgressDisplay::progressChanged(const std::string&, double fraction)
{
    throwIfCancelled();
    percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100.0);
    if (!bShown)
        return;
    if (!bTerminal)
        writeLine();
    else if (percent != percentDrawn)
        draw();
}

void ProgressDisplay::eraseBar()
{
    if (percentDrawn >= 0)
        std::cerr << ERASE_LINE << std::flush;
    percentDrawn = -1;
}

void ProgressDisplay::draw()
{
    percentDrawn = percent;
    const auto numFull = static_cast<std::size_t>(percent * WIDTH / 100);
    std::cerr << ERASE_LINE << stage << " [" << std::string(numFull, '#') << std::string(WIDTH - numFull, '.')
              << "] " << percent << " %" << std::flush;
}

void ProgressDisplay::writeLine()
{
    const auto now = std::chrono::steady_clock::now();
    if (now - lastLine < LINE_PAUSE)
        return;
    lastLine = now;
    std::cerr << "zan: " << stage << ", " << percent << " %" << std::endl;
}
