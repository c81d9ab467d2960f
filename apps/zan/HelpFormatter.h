// How the help of a command looks: two columns, lines that fit a terminal, and of each option what a user
// needs.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_option(const CLI::Option* pOption, bool bPositional) const override;
    std::string make_subcommand(const CLI::App* pCommand) const override;
};
