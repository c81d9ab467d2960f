// Writing a result so that a failure never costs the user a file that was there before.
#pragma once

#include <string>

// Stands for the file that a command is to make. The content is written under a name of its own in the same
// folder, and takes the wanted name in one step when it is whole.
class OutputFile
{
public:
    // Makes the file to write to, empty, so that an impossible place is found before the work and not after.
    // Throws CommandError when the folder or an existing file of that name cannot be written.
    explicit OutputFile(const std::string& wantedName);
    // Removes what was written, unless it was committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Where to write. Has the extension of the wanted name, which tells the library the type.
    const std::string& workName() const { return work; }

    // Gives the content its wanted name, in place of what was there. Throws CommandError when that fails.
    void commit();

private:
    std::string name; // as the user wrote it, for messages
    std::string target;
    std::string work;
    bool bCommitted = false;
};
