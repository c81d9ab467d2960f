// What the library says, as text: for tests of messages, and to keep the output of a test run readable.
#pragma once

#include "messages.h"

#include <sstream>
#include <string>

namespace zan_test
{

// While it lives, all messages of the process (both streams) end up here. One at a time.
class CapturedMessages
{
public:
    CapturedMessages() { TESK_ZAN::redirectMessages(&stream); }
    ~CapturedMessages() { TESK_ZAN::resetMessageStreams(); }
    CapturedMessages(const CapturedMessages&) = delete;
    CapturedMessages& operator=(const CapturedMessages&) = delete;

    std::string text() const { return stream.str(); }
    bool has(const std::string& part) const { return text().find(part) != std::string::npos; }
    void clear() { stream.str({}); }

private:
    std::ostringstream stream;
};

} // namespace zan_test
