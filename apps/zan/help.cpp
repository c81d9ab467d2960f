// zan help: what 'zan COMMAND --help' shows, and the list of commands.
#include "CommandError.h"
#include "commands.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

void addHelp(CLI::App& program)
{
    const auto pName = std::make_shared<std::string>();
    CLI::App* pCommand = program.add_subcommand("help", "Show what a command does, with examples");
    pCommand->add_option("COMMAND", *pName, "One of the commands; without, all of them");
    pCommand->callback([pName, &program] {
        if (pName->empty()) {
            std::cout << program.get_formatter()->make_help(&program, program.get_name(),
                                                            CLI::AppFormatMode::Normal);
            return;
        }
        const std::vector<CLI::App*> vAsked =
            program.get_subcommands([&](const CLI::App* pApp) { return pApp->get_name() == *pName; });
        if (vAsked.empty())
            throw CommandError(ExitCode::Usage,
                               "there is no command '" + *pName + "'. 'zan help' lists them.");
        std::cout << vAsked.front()->help(program.get_name());
    });
}
