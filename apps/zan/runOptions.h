// The options that all commands have, and checks of option values.
#pragma once

#include <string>

namespace CLI
{
class App;
class Option;
} // namespace CLI

struct RunOptions {
    int numThreads = 0; // all that the hardware has
    bool bAscii = false;
    bool bOverwrite = false;
    bool bQuiet = false;
    bool bVerbose = false;
    bool bJson = false;
};

// Defines --threads, --quiet, --verbose and --json. options must live as long as the command.
void addRunOptions(CLI::App& command, RunOptions& options);

// Defines --ascii and --overwrite, for commands that make a file with numbers in it, or the latter alone.
void addOutputOptions(CLI::App& command, RunOptions& options);
void addOverwrite(CLI::App& command, RunOptions& options);

// Defines --color-column of a text file with points.
CLI::Option* addColorColumn(CLI::App& command, int& column);

// Checks of option values: empty for a good one, else what is wrong. CLI11's own range checks let NaN
// through. Infinity is fine for a limit only.
std::string isPositive(const std::string& text);
std::string isNumber(const std::string& text);
std::string isFiniteNumber(const std::string& text);
std::string isNotNegative(const std::string& text);
