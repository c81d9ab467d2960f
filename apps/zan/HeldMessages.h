// Messages of the library that only a failure makes worth reading.
#pragma once

#include <sstream>

// Keeps the library's messages back while it lives. In the end they go to the error stream, where all others
// go in this program, unless drop() was called. One at a time.
class HeldMessages
{
public:
    HeldMessages();
    ~HeldMessages();
    HeldMessages(const HeldMessages&) = delete;
    HeldMessages& operator=(const HeldMessages&) = delete;

    // All went well: nobody needs them.
    void drop() { bDropped = true; }

private:
    std::ostringstream held;
    bool bDropped = false;
};
