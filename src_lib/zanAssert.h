// Subsystem: ground. Builds on: messages. Used by: everything.
// The one way of reporting a broken internal condition: a report on the message stream, then ZanBugException.
#pragma once

#include "zan_export.h"

namespace TESK_ZAN
{

// Writes the place and "Condition [ <condition> failed ]", then throws ZanBugException. Plain arguments: what
// stands at every check must not keep small functions from being inlined.
[[noreturn]] void reportFailure(const char* file, int line, const char* function, const char* condition);

} // namespace TESK_ZAN

// Cheap and always on: for what the code relies on next. The text is the condition as written.
#define zanAssert(condition)                                                                                 \
    do {                                                                                                     \
        if (!(condition)) [[unlikely]]                                                                       \
            ::TESK_ZAN::reportFailure(__FILE__, __LINE__, __PRETTY_FUNCTION__, #condition);                  \
    } while (false)

// The same with a text that differs from the expression that is tested.
#define zanAssertText(condition, text)                                                                       \
    do {                                                                                                     \
        if (!(condition)) [[unlikely]]                                                                       \
            ::TESK_ZAN::reportFailure(__FILE__, __LINE__, __PRETTY_FUNCTION__, text);                        \
    } while (false)

// A branch that must not be reached; the condition text is "false".
#define zanFail() ::TESK_ZAN::reportFailure(__FILE__, __LINE__, __PRETTY_FUNCTION__, "false")
