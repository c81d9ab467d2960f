#include "HelpFormatter.h"

#include <sstream>

namespace
{

constexpr std::size_t INDENT = 2, COLUMN = 26, WIDTH = 92;

// The name on the left, the text on the right in as many lines as it takes.
std::string row(const std::string& name, const std::string& text)
{
    std::string out = std::string(INDENT, ' ') + name;
    std::size_t column = out.size();
    const auto toColumn = [&] {
        if (column >= COLUMN) {
            out += '\n';
            column = 0;
        }
        out.append(COLUMN - column, ' ');
        column = COLUMN;
    };
    toColumn();
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (column > COLUMN && column + 1 + word.size() > WIDTH)
            toColumn();
        if (column > COLUMN) {
            out += ' ';
            ++column;
        }
        out += word;
        column += word.size();
    }
    return out + '\n';
}

// The type without the checks that CLI11 puts behind it.
std::string valueName(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    return option.get_type_size() == 0 ? "" : " " + type.substr(0, type.find(':'));
}

} // namespace

std::string HelpFormatter::make_option(const CLI::Option* pOption, bool bPositional) const
{
    const std::string name =
        bPositional ? pOption->get_name(true, false) : pOption->get_name(false, true) + valueName(*pOption);
    const std::string standard = pOption->get_default_str();
    return row(name, pOption->get_description() + (standard.empty() ? "" : " [" + standard + "]"));
}

std::string HelpFormatter::make_subcommand(const CLI::App* pCommand) const
{
    return row(pCommand->get_name(), pCommand->get_description());
}
