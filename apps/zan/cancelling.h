// Ctrl-C: the first one ends the work at the next step of the progress, the second one at once.
#pragma once

#include <string>

// Makes both do that from here on, as SIGTERM does. Before, they end the program as usual.
void listenForCancelling();

// Throws CommandError with ExitCode::Cancelled once Ctrl-C was pressed.
void throwIfCancelled();

// The file that the second Ctrl-C removes before it ends the program; empty: none.
void setFileToRemove(const std::string& path);
