#include "messages.h"

#include <zan/zan_api_functions.h>

#include <ostream>
#include <streambuf>
#include <utility>

namespace
{

thread_local std::string textOfThread;

// Without a put area, so that every character comes here at once and threads share no buffer.
struct ThreadTextBuffer : std::streambuf {
    int overflow(int c) override
    {
        if (c != traits_type::eof())
            textOfThread.push_back(traits_type::to_char_type(c));
        return traits_type::not_eof(c);
    }

    std::streamsize xsputn(const char* p, std::streamsize n) override
    {
        textOfThread.append(p, static_cast<std::size_t>(n));
        return n;
    }
};

} // namespace

void collectMessages()
{
    // Never deleted: worker threads may live until the process ends.
    static auto* pStream = new std::ostream(new ThreadTextBuffer);
    TESK_ZAN::setMessageStream(pStream);
}

std::string takeMessages()
{
    return std::exchange(textOfThread, {});
}
