// Ctrl-C: the first one ends the work at the next step of the progress, the second one at once. Where no
// steps are made, the first one does.
#pragma once

#include <string>

// Makes both do that from here on, as SIGTERM does. Before, they end the program as usual.
void listenForCancelling();

// Throws CommandError with ExitCode::Cancelled once Ctrl-C was pressed.
void throwIfCancelled();

// True: from here on there are no steps, as while a file is read, and the first Ctrl-C ends the program at
// once.
void setCancelsAtOnce(bool bAtOnce);

// The file that is removed before the program ends at once; empty: none.
void setFileToRemove(const std::string& path);
