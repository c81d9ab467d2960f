#include "runOptions.h"

#include <CLI/CLI.hpp>

#include <cmath>

void addRunOptions(CLI::App& command, RunOptions& options)
{
    constexpr int MAX_THREADS = 1024;
    constexpr const char* GROUP = "Running";
    command.add_option("--threads", options.numThreads, "Worker threads; 0: as many as the hardware has")
        ->type_name("N")
        ->check(CLI::Range(0, MAX_THREADS))
        ->capture_default_str()
        ->group(GROUP);
    CLI::Option* pQuiet =
        command.add_flag("--quiet", options.bQuiet, "Say nothing unless it fails")->group(GROUP);
    command.add_flag("--verbose", options.bVerbose, "Show all messages and the time of each stage")
        ->excludes(pQuiet)
        ->group(GROUP);
    command
        .add_flag("--json", options.bJson,
                  "Report as one JSON object: counts, spacing, warnings, seconds, memory")
        ->group(GROUP);
}

void addOutputOptions(CLI::App& command, RunOptions& options)
{
    command.add_flag("--ascii", options.bAscii, "Write PLY and STL as text; otherwise they are binary");
    addOverwrite(command, options);
}

void addOverwrite(CLI::App& command, RunOptions& options)
{
    command.add_flag("--overwrite", options.bOverwrite,
                     "Don't ask before an existing file is replaced. On a terminal the program asks; "
                     "elsewhere it replaces, by a whole new file or not at all");
}

CLI::Option* addColorColumn(CLI::App& command, int& column)
{
    constexpr int FIRST = 4, LAST = 1000;
    return command
        .add_option("--color-column", column,
                    "In text files, the column where red stands, green and blue behind it: 4 for x y z r g b")
        ->type_name("N")
        ->check(CLI::Range(FIRST, LAST));
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

std::string isFiniteNumber(const std::string& text)
{
    double value = 0.0;
    const bool bNumber = CLI::detail::lexical_cast(text, value);
    return bNumber && std::isfinite(value) ? "" : "must be a finite number, is '" + text + "'";
}

std::string isNotNegative(const std::string& text)
{
    double value = 0.0;
    const bool bNumber = CLI::detail::lexical_cast(text, value);
    return bNumber && value >= 0.0 ? "" : "must be a number, 0 or more, is '" + text + "'";
}
