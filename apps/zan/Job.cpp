#include "Job.h"

#include "CommandError.h"
#include "cancelling.h"

#include <zan/zan_api_functions.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>

#include <unistd.h>

using namespace TESK_ZAN;

namespace
{

LibraryMessages::Show shownMessages(const RunOptions& options)
{
    if (options.bVerbose)
        return LibraryMessages::Show::All;
    return options.bQuiet ? LibraryMessages::Show::None : LibraryMessages::Show::Warnings;
}

// Only who sits in front of a terminal can be asked.
void confirmReplacing(const std::string& name)
{
    std::error_code none; // OutputFile tells
    if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0 ||
        !std::filesystem::is_regular_file(name, none))
        return;
    std::cerr << "'" << name << "' exists. Replace it? [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes")
        throw CommandError(ExitCode::FileTrouble,
                           "'" + name + "' is kept. Give another name, or --overwrite.");
}

} // namespace

Job::Job(const RunOptions& options_, const std::string& command, const std::string& outName_)
    : options(options_), outName(outName_), messages(shownMessages(options_))
{
    if (options.bVerbose)
        setenv("ZAN_TRACE", "1", 0); // the library prints the time of its stages
    setGlobalNumCPU(options.numThreads);
    if (!outName.empty() && !options.bOverwrite)
        confirmReplacing(outName); // while Ctrl-C still ends the program at once
    listenForCancelling();
    if (!outName.empty())
        pOutput = std::make_unique<OutputFile>(outName);
    pDisplay = std::make_unique<ProgressDisplay>(!options.bQuiet);
    figures.addJson("command", command);
}

Job::~Job() = default;

void Job::begin(const std::string& name, Steps steps)
{
    endStage();
    setCancelsAtOnce(steps == Steps::None); // before the question: no gap between
    throwIfCancelled();
    stage = name;
    stageStart = std::chrono::steady_clock::now();
    pDisplay->setStage(name);
}

void Job::endStage()
{
    if (stage.empty())
        return;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - stageStart;
    figures.addSeconds(stage, passed.count());
    stage.clear();
}

void Job::write(const std::shared_ptr<Mesh>& pMesh)
{
    begin("writing", Steps::None);
    checkWritten(saveMesh(workName(), pMesh, options.bAscii));
    commit();
}

void Job::write(std::vector<Point3>& vPoints)
{
    begin("writing", Steps::None);
    checkWritten(savePoints(workName(), vPoints, options.bAscii));
    commit();
}

void Job::checkWritten(bool bWritten)
{
    throwIfCancelled();
    if (!bWritten)
        throw CommandError(ExitCode::FileTrouble,
                           "'" + outName + "' could not be written whole. Is there free space?");
}

void Job::commit()
{
    setCancelsAtOnce(false); // either nothing was written, or the whole
    throwIfCancelled();
    pOutput->commit();
}

void Job::finish()
{
    endStage();
    pDisplay.reset();
    messages.drop();
    if (options.bQuiet && !options.bJson)
        return;
    figures.addJson("warnings", messages.getWarnings());
    if (pOutput != nullptr)
        figures.add("written to", outName);
    figures.print(options.bJson);
}
