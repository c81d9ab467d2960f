// zan melt, for whoever takes triangles as it does.
#pragma once

#include "finishing.h"
#include "runOptions.h"
#include "soupOptions.h"

#include <string>

struct MeltOptions {
    SoupOptions soup;
    std::string out;
    FinishingOptions finishing;
    RunOptions run;
};

// The whole command.
void runMelt(const MeltOptions& options);
