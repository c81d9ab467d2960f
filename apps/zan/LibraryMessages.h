// What the library says, on its way to the user.
#pragma once

#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

// Takes the messages of the library while it lives, by lines. Shown at once: all of them as they are
// (Show::All), warnings in the program's own style (Show::Warnings), none (Show::None). What was not shown
// waits for a failure. One at a time.
class LibraryMessages : private std::streambuf
{
public:
    enum class Show { All, Warnings, None };

    explicit LibraryMessages(Show show);
    // Shows what was held back, unless drop() was called.
    ~LibraryMessages() override;
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;

    // All went well: nobody needs them.
    void drop() { bDropped = true; }

    // What it warned of until now.
    const std::vector<std::string>& getWarnings() const { return vWarnings; }

private:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize num) override;
    void take(char c);
    void takeLine();

    const Show show;
    std::ostream stream{this};
    std::string line; // the one that is not complete yet
    std::string held;
    std::vector<std::string> vWarnings;
    bool bDropped = false;
};
