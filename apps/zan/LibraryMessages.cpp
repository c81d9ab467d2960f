#include "LibraryMessages.h"

#include <zan/zan_api_functions.h>

#include <iostream>

#include <unistd.h>

LibraryMessages::LibraryMessages(Show show_) : show(show_)
{
    TESK_ZAN::setMessageStream(show == Show::All ? &std::cerr : &stream);
}

LibraryMessages::~LibraryMessages()
{
    TESK_ZAN::setMessageStream(&std::cerr);
    if (!bDropped)
        std::cerr << held << line << std::flush;
}

LibraryMessages::int_type LibraryMessages::overflow(int_type c)
{
    if (!traits_type::eq_int_type(c, traits_type::eof()))
        take(traits_type::to_char_type(c));
    return traits_type::not_eof(c);
}

std::streamsize LibraryMessages::xsputn(const char* text, std::streamsize num)
{
    for (std::streamsize i = 0; i < num; ++i)
        take(text[i]);
    return num;
}

void LibraryMessages::take(char c)
{
    line += c;
    if (c != '\n')
        return;
    if (show == Show::Warnings)
        showWarning();
    held += line;
    line.clear();
}

// A message reads "[ZAN Message] where, WARNING: what", or ERROR. Where in the code tells a user nothing.
void LibraryMessages::showWarning()
{
    for (const char* kind : {", WARNING: ", ", ERROR: "}) {
        const std::size_t pos = line.find(kind);
        if (pos == std::string::npos)
            continue;
        std::cerr << (isatty(STDERR_FILENO) != 0 ? "\r\033[K" : "") // over a bar
                  << "zan: " << line.substr(pos + 2) << std::flush;
        return;
    }
}
