// The progress of a call as one line that is drawn over and over.
#pragma once

#include <zan/ProgressBase.h>

#include <string>

// Draws on the error stream while it lives, if that is a terminal, and removes the line in the end. Hears of
// the calls of the thread that made it.
class ProgressBar : public TESK_ZAN::ProgressBase
{
public:
    ProgressBar();
    ~ProgressBar() override;

    void progressChanged(const std::string& treeName, double fraction) override;

private:
    int percentShown = -1;
};
