// The progress of the library's calls, and the place where Ctrl-C reaches them.
#pragma once

#include <zan/ProgressBase.h>

#include <chrono>
#include <string>

// Hears of the calls of the thread that made it. On a terminal it draws a line with the stage and a bar over
// and over; elsewhere it writes a plain line every few seconds, so that a short run says nothing. Cancels by
// throwIfCancelled.
class ProgressDisplay : public TESK_ZAN::ProgressBase
{
public:
    // Shows nothing if !bShow, and still cancels.
    explicit ProgressDisplay(bool bShow);
    ~ProgressDisplay() override;

    // What the user reads from here on.
    void setStage(const std::string& name);

    void progressChanged(const std::string& treeName, double fraction) override;

private:
    void eraseBar();
    void draw();
    void writeLine();

    const bool bShown;
    const bool bTerminal;
    std::string stage;
    int percent = 0;
    int percentDrawn = -1; // none
    std::chrono::steady_clock::time_point lastLine;
};
