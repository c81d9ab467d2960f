#include "messages.h"

#include <atomic>
#include <iostream>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

struct NullBuffer : std::streambuf {
    int overflow(int c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

std::ostream& silentStream()
{
    // Thread-local: the state bits of a stream are not safe to share, and nobody needs to share this one.
    thread_local NullBuffer buffer;
    thread_local std::ostream stream(&buffer);
    return stream;
}

std::atomic<bool> bRedirected{false};
std::atomic<std::ostream*> pRedirect{nullptr};

std::ostream& redirectedOr(std::ostream& standard)
{
    if (!bRedirected.load(std::memory_order_acquire))
        return standard;
    std::ostream* p = pRedirect.load(std::memory_order_acquire);
    return p != nullptr ? *p : silentStream();
}

void writeLine(const std::string& line)
{
    messageStream() << '\n' << line << "\n\n" << std::flush;
}

} // namespace

std::ostream& messageStream()
{
    return redirectedOr(std::cout);
}

std::ostream& complaintStream()
{
    return redirectedOr(std::cerr);
}

void redirectMessages(std::ostream* p)
{
    pRedirect.store(p, std::memory_order_release);
    bRedirected.store(true, std::memory_order_release);
}

void resetMessageStreams()
{
    bRedirected.store(false, std::memory_order_release);
}

void zanWarning(const std::string& where, const std::string& what)
{
    writeLine("      [ZAN Message] " + where + ", WARNING: " + what);
}

void zanError(const std::string& where, const std::string& what)
{
    writeLine("      [ZAN Message] " + where + ", ERROR: " + what);
}

void zanInfo(const std::string& where, const std::string& what)
{
    writeLine(where.empty() ? "      [ZAN Message] INFO: " + what : "      " + where + ", INFO: " + what);
}

std::string positionText(const char* function, int line)
{
    return std::string(" ** ") + function + ":" + std::to_string(line) + " ** ";
}

} // namespace TESK_ZAN
