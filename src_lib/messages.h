// Subsystem: ground. Builds on: nothing. Used by: everything.
// The one way of writing messages. Two sinks: the message stream (standard output by default) and the
// complaint stream (standard error by default). A host that sets a message stream gets both on it.
#pragma once

#include <iosfwd>
#include <string>

namespace TESK_ZAN
{

// The sink of ordinary messages. Never null: a silenced library writes to a stream that drops everything.
std::ostream& messageStream();

// The sink of the few texts that belong on the standard error stream.
std::ostream& complaintStream();

// Sends everything to p from now on, in the whole process; null silences. p must outlive its use.
void redirectMessages(std::ostream* p);

// Back to the standard streams.
void resetMessageStreams();

// Each writes one line between empty lines, all with a prefix of six blanks:
// "      [ZAN Message] " where ", WARNING: " what. zanInfo writes "      " where ", INFO: " what.
void zanWarning(const std::string& where, const std::string& what);
void zanError(const std::string& where, const std::string& what);
void zanInfo(const std::string& where, const std::string& what);

// " ** " function ":" line " ** ": the position text of the macros below.
std::string positionText(const char* function, int line);

} // namespace TESK_ZAN

#define ZAN_WARNING(what)                                                                                    \
    ::TESK_ZAN::zanWarning(::TESK_ZAN::positionText(__PRETTY_FUNCTION__, __LINE__), what)
#define ZAN_ERROR(what) ::TESK_ZAN::zanError(::TESK_ZAN::positionText(__PRETTY_FUNCTION__, __LINE__), what)
#define ZAN_INFO(what) ::TESK_ZAN::zanInfo(::TESK_ZAN::positionText(__PRETTY_FUNCTION__, __LINE__), what)
