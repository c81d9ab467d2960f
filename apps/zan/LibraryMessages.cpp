#include "LibraryMessages.h"

#include <zan/zan_api_functions.h>

#include <iostream>
#include <string_view>

#include <unistd.h>

LibraryMessages::LibraryMessages(Show show_) : show(show_)
{
    TESK_ZAN::setMessageStream(&stream);
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
    takeLine();
    line.clear();
}

// A message reads "[ZAN Message] where, WARNING: what", or ERROR. Where in the code tells a user nothing.
void LibraryMessages::takeLine()
{
    constexpr std::string_view WARNING = ", WARNING: ";
    constexpr std::string_view ERROR = ", ERROR: ";
    if (show == Show::All)
        std::cerr << line << std::flush;
    if (const std::size_t pos = line.find(WARNING); pos != std::string::npos) {
        const std::size_t begin = pos + WARNING.size();
        vWarnings.push_back(line.substr(begin, line.size() - 1 - begin));
        line = "zan: WARNING: " + vWarnings.back() + '\n';
        if (show == Show::Warnings) {
            std::cerr << (isatty(STDERR_FILENO) != 0 ? "\r\033[K" : "") << line << std::flush; // over a bar
            return;
        }
    } else if (const std::size_t posError = line.find(ERROR); posError != std::string::npos) {
        line = "zan: " + line.substr(posError + 2);
    }
    if (show != Show::All && line != "\n")
        held += line;
}
