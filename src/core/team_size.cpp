#include "core/team_size.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <omp.h>
#include <pthread.h>
#include <sched.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace lumo::parallel {
namespace {

thread_local int known = 1;   // threads of this thread's last region, which the runtime keeps
thread_local int asked = 0;   // the largest size looked into
thread_local int granted = 0; // what came of it

// The stack that the runtime gives its threads ("512k", "4 M", "16384" kilobytes); 0 is the usual.
size_t WorkerStackBytes()
{
    const char* setting = std::getenv("OMP_STACKSIZE");
    if (setting == nullptr) {
        return 0;
    }
    char* unit = nullptr;
    const uint64_t count = std::strtoull(setting, &unit, 10);
    while (*unit == ' ') {
        ++unit;
    }
    const size_t power = std::string_view("bkmg").find(static_cast<char>(std::tolower(*unit)));
    return static_cast<size_t>(count << (power < 4 ? 10 * power : 10));
}

struct Trial {
    std::mutex* gate;
    pthread_t thread;
    pid_t id;
};

void* WaitAtGate(void* argument)
{
    auto* trial = static_cast<Trial*>(argument);
    trial->id = static_cast<pid_t>(syscall(SYS_gettid));
    const std::lock_guard<std::mutex> pass(*trial->gate);
    return nullptr;
}

// A joined thread counts against the limits until the system no longer knows its number.
void WaitForEnd(const Trial& trial)
{
    pthread_join(trial.thread, nullptr);
    while (syscall(SYS_tgkill, getpid(), trial.id, 0) == 0) {
        sched_yield();
    }
}

// How many of `count` threads to start: all where all can be there at once, else half of those that
// can, since what threads take for their stacks the call itself may need.
int Startable(int count)
{
    static const size_t stackBytes = WorkerStackBytes();
    std::vector<Trial> trials(static_cast<size_t>(count));
    std::mutex gate;
    pthread_attr_t attributes;
    sigset_t all;
    sigset_t before;
    pthread_attr_init(&attributes);
    if (stackBytes != 0) {
        pthread_attr_setstacksize(&attributes, stackBytes);
    }
    sigfillset(&all); // a signal of the host must not be handled on a thread of the trial
    pthread_sigmask(SIG_SETMASK, &all, &before);
    gate.lock();
    const auto refused = std::find_if(trials.begin(), trials.end(), [&](Trial& trial) {
        trial.gate = &gate;
        return pthread_create(&trial.thread, &attributes, WaitAtGate, &trial) != 0;
    });
    gate.unlock();
    std::for_each(trials.begin(), refused, WaitForEnd);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    const auto started = static_cast<int>(refused - trials.begin());
    return started == count ? count : started / 2;
}

} // namespace

int TeamSize()
{
    const int wanted = std::min(omp_get_max_threads(), omp_get_thread_limit());
    if (wanted > asked) {
        granted = wanted <= known ? wanted : known + Startable(wanted - known);
        asked = wanted;
    }
    return std::min(wanted, granted);
}

void NoteTeam(int threads)
{
    known = threads;
}

void ForgetShortage()
{
    asked = 0;
}

} // namespace lumo::parallel
