#include "batch/stop_signals.h"

#include "base/errors.h"

#include <cerrno>
#include <sys/signalfd.h>
#include <unistd.h>

namespace qva {

StopSignals::StopSignals()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD}) {
        struct sigaction action {};
        // What the caller has set to be ignored would be waited for otherwise.
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&set, signal);
        }
    }
    sigaddset(&set, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &set, &before_);
    descriptor_ = Descriptor(signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!descriptor_.IsOpen()) {
        throw Failure("signals", "cannot be waited for: " + SystemReason(errno), exitFailed);
    }
}

StopSignals::~StopSignals()
{
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

int StopSignals::Take()
{
    int last = 0;
    signalfd_siginfo info{};
    while (read(descriptor_.Get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        if (info.ssi_signo != SIGCHLD) {
            last = static_cast<int>(info.ssi_signo);
        }
    }
    return last;
}

} // namespace qva
