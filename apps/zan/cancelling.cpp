#include "cancelling.h"

#include "CommandError.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>

#include <unistd.h>

namespace
{

std::atomic<bool> bCancelled = false;

// Only what a signal handler may touch: fixed storage, no allocation. Empty or a whole path at any moment.
std::array<char, 4096> aFileToRemove{};

void onSignal(int)
{
    if (bCancelled.exchange(true)) {
        if (aFileToRemove[0] != '\0')
            unlink(aFileToRemove.data());
        _exit(static_cast<int>(ExitCode::Cancelled));
    }
}

} // namespace

void listenForCancelling()
{
    struct sigaction action {
    };
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART; // reading and writing of files go on
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void throwIfCancelled()
{
    if (bCancelled)
        throw CommandError(ExitCode::Cancelled, "cancelled. Nothing was written.");
}

void setFileToRemove(const std::string& path)
{
    aFileToRemove[0] = '\0';
    if (path.empty() || path.size() >= aFileToRemove.size())
        return;
    std::copy(path.begin() + 1, path.end(), aFileToRemove.begin() + 1);
    aFileToRemove[path.size()] = '\0';
    aFileToRemove[0] = path[0]; // at last, so that it is whole
}
