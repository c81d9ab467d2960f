// What may end the program from outside: Ctrl-C, signals, the end of memory. It leaves no half file then.
#pragma once

#include <string>

// From here on the first Ctrl-C ends the work at the next step of the progress, and the second one at once,
// or the first where no steps are made. So do SIGTERM, and SIGHUP unless it is ignored; a broken pipe ends it
// at once. Before, they end the program as usual.
void listenForCancelling();

// Throws CommandError with ExitCode::Cancelled once Ctrl-C was pressed.
void throwIfCancelled();

// True: from here on there are no steps, as while a file is read, and the first Ctrl-C ends the program at
// once.
void setCancelsAtOnce(bool bAtOnce);

// The file that is removed before the program ends at once; empty: none.
void setFileToRemove(const std::string& path);

// While it lives, std::exit, by which the library ends the process when memory runs out, gives
// ExitCode::InternalFailure and a sentence, and a file that passes a limit of size is one that cannot be
// written. One, on the stack of main.
class OrderlyEnd
{
public:
    OrderlyEnd();
    ~OrderlyEnd();
    OrderlyEnd(const OrderlyEnd&) = delete;
    OrderlyEnd& operator=(const OrderlyEnd&) = delete;
};

// What to tell when memory has run out.
constexpr const char* OUT_OF_MEMORY =
    "out of memory. Larger cells need less: try a larger --spacing or --spacing-factor.";
