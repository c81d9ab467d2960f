// What the library says, on its way to the user.
#pragma once

#include <ostream>
#include <streambuf>
#include <string>

// Takes the messages of the library while it lives. Shown at once: all of them (Show::All), warnings and
// errors in a line of the program's own style (Show::Warnings), none (Show::None). What was not shown as it
// is waits for a failure. One at a time.
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

private:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize num) override;
    void take(char c);
    void showWarning();

    const Show show;
    std::ostream stream{this};
    std::string line; // the one that is not complete yet
    std::string held;
    bool bDropped = false;
};
