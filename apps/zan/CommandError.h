// How a command ends when it does not end well.
#pragma once

#include <stdexcept>
#include <string>

// The exit codes of the program. Done means that what was asked for exists: for a command with an output, the
// file was written whole.
enum class ExitCode {
    Done = 0,
    NothingCameOut = 1,
    Usage = 2,
    FileTrouble = 3,
    InternalFailure = 4,
    Cancelled = 130 // by Ctrl-C; what shells expect of it
};

// what(): one or two sentences for the user, what is wrong and what to do next.
class CommandError : public std::runtime_error
{
public:
    CommandError(ExitCode exitCode, const std::string& what) : std::runtime_error(what), code(exitCode) {}

    const ExitCode code;
};
