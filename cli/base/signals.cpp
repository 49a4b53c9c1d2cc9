#include "base/signals.h"

#include "base/temporary_name.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace qva {

namespace {

// In a fixed buffer, as a signal handler may not touch strings.
std::array<char, 4096> farewell{};
std::atomic<std::size_t> farewellLength{0};

void SayFarewell(int signal)
{
    // A reader that is gone must not end the program in another way, nor one that waits keep it.
    if (signal != SIGPIPE) {
        std::signal(SIGPIPE, SIG_IGN);
    }
    pollfd stream{STDERR_FILENO, POLLOUT, 0};
    if (poll(&stream, 1, 0) == 1 && (stream.revents & POLLOUT) != 0 &&
        write(STDERR_FILENO, farewell.data(), farewellLength.load()) < 0)
    {
        // Nobody is left to be told.
    }
}

extern "C" void OnSignal(int signal)
{
    RemoveTemporaries();
    SayFarewell(signal);
    // The handler was reset to the default when it was called, so this ends the program.
    raise(signal);
}

/// Whether a signal left alone ends the program, and may be caught.
bool Ends(int signal)
{
    constexpr int others[] = {SIGKILL, SIGSTOP, SIGCHLD, SIGCONT, SIGTSTP,
                              SIGTTIN, SIGTTOU, SIGURG,  SIGWINCH};
    return std::find(std::begin(others), std::end(others), signal) == std::end(others);
}

} // namespace

void InstallSignalHandlers()
{
    std::signal(SIGXFSZ, SIG_IGN);
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        // Those in between belong to the C library.
        const bool exists = signal <= SIGSYS || signal >= SIGRTMIN;
        struct sigaction old {};
        if (exists && Ends(signal) && sigaction(signal, nullptr, &old) == 0 &&
            old.sa_handler == SIG_DFL) {
            sigaction(signal, &action, nullptr);
        }
    }
    // The OpenMP runtime ends the program where it gets no thread.
    std::atexit(RemoveTemporaries);
}

void SetFarewell(const std::string& line)
{
    farewellLength.store(0);
    const std::size_t length = std::min(line.size(), farewell.size());
    std::memcpy(farewell.data(), line.data(), length);
    farewellLength.store(length);
}

} // namespace qva
