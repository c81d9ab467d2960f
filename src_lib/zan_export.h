// Subsystem: ground. Builds on: nothing. Used by: every exported declaration.
// What a public header needs beyond the standard library: the visibility macro and the one exception type
// that leaves the library. Installed.
#pragma once

#include <exception>

#if defined(__GNUC__) || defined(__clang__)
#define ZAN_EXPORT __attribute__((visibility("default")))
#else
#define ZAN_EXPORT
#endif

namespace TESK_ZAN
{

// Thrown by a failed internal condition, after a report with the condition's text on the message stream.
// Carries no data. Bad input does not throw: it gives a warning and an empty result.
class ZAN_EXPORT ZanBugException : public std::exception
{
public:
    ~ZanBugException() override;
    const char* what() const noexcept override;
};

} // namespace TESK_ZAN
