// What the library says, kept for the Python side.
#pragma once

#include <string>

// Sends the library's messages into one text for each thread, from now to the end of the process.
void collectMessages();

// The text of the calling thread since the last call, which is then empty.
std::string takeMessages();
