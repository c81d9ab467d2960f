#include "cancelling.h"

#include "CommandError.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <string_view>

#include <unistd.h>

namespace
{

std::atomic<bool> bCancelled = false;
std::atomic<bool> bCancelsAtOnce = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may touch no other");

constexpr char TEXT_CANCELLED[] = "cancelled. Nothing was written.";

// Only what a signal handler may touch: fixed storage, no allocation. Empty or a whole path at any moment.
std::array<char, 4096> aFileToRemove{};

void onSignal(int)
{
    if (!bCancelled.exchange(true) && !bCancelsAtOnce)
        return;
    if (aFileToRemove[0] != '\0')
        unlink(aFileToRemove.data());
    for (const std::string_view text : {"\nzan: ", TEXT_CANCELLED, "\n"}) // begins behind a bar
        if (write(STDERR_FILENO, text.data(), text.size()) < 0)
            break; // nobody can be told
    _exit(static_cast<int>(ExitCode::Cancelled));
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
        throw CommandError(ExitCode::Cancelled, TEXT_CANCELLED);
}

void setCancelsAtOnce(bool bAtOnce)
{
    bCancelsAtOnce = bAtOnce;
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
