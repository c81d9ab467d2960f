// One run of a command: what all of them do around their work.
#pragma once

#include "LibraryMessages.h"
#include "OutputFile.h"
#include "ProgressDisplay.h"
#include "Report.h"
#include "runOptions.h"

#include <chrono>
#include <memory>
#include <string>

namespace TESK_ZAN
{
class Mesh;
class Point3;
} // namespace TESK_ZAN

// From its making on Ctrl-C cancels, the library's messages are taken care of and the time is measured. Ends
// with finish(); a job that ends without shows the messages that were held back and leaves no file behind.
class Job
{
public:
    // Whether the library tells its progress, and so can be cancelled. Where it does not, Ctrl-C ends the
    // program.
    enum class Steps { Some, None };

    // outName: the file that the command is to make, empty for none. Throws CommandError, before any work,
    // when it can't be written, or when the user does not want it replaced.
    Job(const RunOptions& options, const std::string& command, const std::string& outName);
    ~Job();
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    // Ends the stage before and begins this one. Throws CommandError if Ctrl-C was pressed.
    void begin(const std::string& stage, Steps steps = Steps::Some);

    Report& report() { return figures; }

    // The last stage: writes the result and gives it its name. Throw CommandError when that fails.
    void write(const std::shared_ptr<TESK_ZAN::Mesh>& pMesh);
    void write(std::vector<TESK_ZAN::Point3>& vPoints);

    // Where to write, for others; commit() then gives the file its name.
    const std::string& workName() const { return pOutput->workName(); }
    void commit();

    // All went well: prints the report.
    void finish();

private:
    void endStage();
    void checkWritten(bool bWritten);

    const RunOptions options;
    const std::string outName;
    LibraryMessages messages;
    std::unique_ptr<OutputFile> pOutput;
    std::unique_ptr<ProgressDisplay> pDisplay;
    Report figures;
    std::string stage; // the present one; empty: none
    std::chrono::steady_clock::time_point stageStart;
};
