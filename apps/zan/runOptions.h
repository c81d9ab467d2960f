// The options that all commands have which make a file.
#pragma once

#include <string>

namespace CLI
{
class App;
}

struct RunOptions {
    int numThreads = 0; // all that the hardware has
    bool bAscii = false;
    bool bQuiet = false;
};

// Defines --threads, --ascii and --quiet. options must live as long as the command.
void addRunOptions(CLI::App& command, RunOptions& options);

// Checks of option values: empty for a good one, else what is wrong. CLI11's own range checks let NaN
// through.
std::string isPositive(const std::string& text);
std::string isNumber(const std::string& text);
