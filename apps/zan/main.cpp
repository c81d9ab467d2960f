// zan: the command line of the library. Parses, runs one subcommand, turns every failure into a text on the
// error stream and an exit code.
#include "CommandError.h"
#include "HelpFormatter.h"
#include "cancelling.h"
#include "commands.h"
#include "keepFreedMemory.h"

#include <zan/zan_api_functions.h>

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <new>

namespace
{

std::string versionText()
{
    int major = 0;
    int minor = 0;
    TESK_ZAN::getVersion(major, minor);
    return "zan " + std::to_string(major) + "." + std::to_string(minor);
}

int fail(ExitCode code, const std::string& what)
{
    std::cerr << "zan: " << what << std::endl;
    return static_cast<int>(code);
}

int run(int argc, char** argv)
{
    CLI::App program("Triangle meshes from point clouds and from triangles of any condition.", "zan");
    program.set_version_flag("--version", versionText());
    program.require_subcommand(1);
    program.footer("'zan help COMMAND' shows the options of a command, with examples. To begin with:\n"
                   "  zan info scan.ply\n"
                   "  zan reconstruct scan.ply mesh.ply\n"
                   "Exit codes: 0 done, 1 nothing came out of the input, 2 usage, 3 trouble with a file,\n"
                   "4 internal failure, 130 cancelled by Ctrl-C.");
    program.formatter(std::make_shared<HelpFormatter>()); // the commands inherit it
    addReconstruct(program);
    addMelt(program);
    addCloud(program);
    addImprovements(program);
    addInfo(program);
    addConvert(program);
    addRender(program);
    addHelp(program);

    try {
        program.parse(argc, argv); // runs the chosen subcommand
    } catch (const CLI::ParseError& error) {
        const bool bAskedFor = program.exit(error) == 0; // --help and --version arrive here too
        return static_cast<int>(bAskedFor ? ExitCode::Done : ExitCode::Usage);
    }
    return static_cast<int>(ExitCode::Done);
}

} // namespace

int main(int argc, char** argv)
{
    const OrderlyEnd orderlyEnd;
    keepFreedMemory();
    TESK_ZAN::setMessageStream(&std::cerr); // the standard output carries results only
    try {
        const int code = run(argc, argv);
        if (!std::cout.flush())
            throw CommandError(ExitCode::FileTrouble,
                               "the report could not be written. Is there free space?");
        return code;
    } catch (const CommandError& error) {
        return fail(error.code, error.what());
    } catch (const TESK_ZAN::ZanBugException&) {
        return fail(
            ExitCode::InternalFailure,
            "the library stopped at a condition that does not hold, see its report above. If a message "
            "before it names a spacing that would fit, use that with --spacing; otherwise please report "
            "it with the input.");
    } catch (const std::bad_alloc&) {
        return fail(ExitCode::InternalFailure, OUT_OF_MEMORY);
    } catch (const std::exception& error) {
        return fail(ExitCode::InternalFailure, std::string("unexpected failure: ") + error.what());
    }
}
