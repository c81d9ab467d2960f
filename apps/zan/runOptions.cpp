#include "runOptions.h"

#include <CLI/CLI.hpp>

#include <cmath>

void addRunOptions(CLI::App& command, RunOptions& options)
{
    constexpr int MAX_THREADS = 1024;
    command.add_option("--threads", options.numThreads, "Worker threads; 0: as many as the hardware has")
        ->check(CLI::Range(0, MAX_THREADS))
        ->capture_default_str();
    command.add_flag("--ascii", options.bAscii, "Write PLY as text; otherwise it is binary");
    command.add_flag("--quiet", options.bQuiet, "Say nothing unless it fails");
}

std::string isPositive(const std::string& text)
{
    double value = 0.0;
    const bool bNumber = CLI::detail::lexical_cast(text, value);
    return bNumber && std::isfinite(value) && value > 0.0 ? ""
                                                          : "must be a number above 0, is '" + text + "'";
}

std::string isNumber(const std::string& text)
{
    double value = 0.0;
    const bool bNumber = CLI::detail::lexical_cast(text, value);
    return bNumber && !std::isnan(value) ? "" : "must be a number, is '" + text + "'";
}
