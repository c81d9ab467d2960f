// The subcommands. Each addX defines its options on the program and what happens when it is chosen; that work
// reports trouble by throwing CommandError.
#pragma once

namespace CLI
{
class App;
}

void addReconstruct(CLI::App& program);
void addMelt(CLI::App& program);
void addCloud(CLI::App& program);
void addImprovements(CLI::App& program); // flip, reduce, smooth, holes
void addInfo(CLI::App& program);
void addConvert(CLI::App& program);
void addRender(CLI::App& program);
void addHelp(CLI::App& program);
