#include "cancelling.h"

#include "CommandError.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include <unistd.h>

namespace
{

std::atomic<bool> bCancelled = false;
std::atomic<bool> bCancelsAtOnce = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may touch no other");

constexpr char TEXT_CANCELLED[] = "cancelled. Nothing was written.";

std::atomic<bool> bOrderly = false; // an OrderlyEnd lives

// Only what a signal handler may touch: fixed storage, no allocation. Empty or a whole path at any moment.
std::array<char, 4096> aFileToRemove{};

[[noreturn]] void endAtOnce(int code)
{
    if (aFileToRemove[0] != '\0')
        unlink(aFileToRemove.data());
    _exit(code);
}

void onSignal(int)
{
    if (!bCancelled.exchange(true) && !bCancelsAtOnce)
        return;
    for (const std::string_view text : {"\nzan: ", TEXT_CANCELLED, "\n"}) // begins behind a bar
        if (write(STDERR_FILENO, text.data(), text.size()) < 0)
            break; // nobody can be told
    endAtOnce(static_cast<int>(ExitCode::Cancelled));
}

// Nobody reads the messages any more: the code is the one that shells give for this signal.
void onBrokenPipe(int)
{
    endAtOnce(128 + SIGPIPE);
}

bool isIgnored(int signal)
{
    struct sigaction action {
    };
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void onExit()
{
    if (!bOrderly)
        return;
    std::cerr << "zan: " << OUT_OF_MEMORY << std::endl;
    endAtOnce(static_cast<int>(ExitCode::InternalFailure));
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
    if (!isIgnored(SIGHUP)) // as under nohup
        sigaction(SIGHUP, &action, nullptr);
    action.sa_handler = onBrokenPipe;
    if (!isIgnored(SIGPIPE))
        sigaction(SIGPIPE, &action, nullptr);
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
    // The handler must see these writes in their order: it may come between any two.
    aFileToRemove[0] = '\0';
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (path.empty() || path.size() >= aFileToRemove.size())
        return;
    std::copy(path.begin() + 1, path.end(), aFileToRemove.begin() + 1);
    aFileToRemove[path.size()] = '\0';
    std::atomic_signal_fence(std::memory_order_seq_cst);
    aFileToRemove[0] = path[0]; // at last, so that it is whole
}

OrderlyEnd::OrderlyEnd()
{
    std::signal(SIGXFSZ, SIG_IGN);
    std::atexit(onExit);
    bOrderly = true;
}

OrderlyEnd::~OrderlyEnd()
{
    bOrderly = false;
}
