#include "core/team_size.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <limits>
#include <mutex>
#include <omp.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace lumo::parallel {
namespace {

thread_local int most = 0; // threads that the call under way can use; 0: no call

std::mutex lookMutex;
std::atomic<int> lookedInto{1};    // the largest team that was asked for
std::atomic<int> available{1};     // what came of it
std::atomic<bool> shortage{false}; // it was less
thread_local bool foundShortage = false;

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

// The processors of a place of OpenMP's settings, as the kernel takes them.
std::vector<unsigned long> ProcessorMask(int place)
{
    constexpr size_t wordBits = 8 * sizeof(unsigned long);
    std::vector<int> processors(static_cast<size_t>(omp_get_place_num_procs(place)));
    omp_get_place_proc_ids(place, processors.data());
    std::vector<unsigned long> mask;
    for (const int processor : processors) {
        const auto bit = static_cast<size_t>(processor);
        mask.resize(std::max(mask.size(), bit / wordBits + 1));
        mask[bit / wordBits] |= 1UL << bit % wordBits;
    }
    return mask;
}

// Whether threads may run at every place that OpenMP's settings name; there are none without such
// settings. Moves the calling thread about.
bool ArePlacesUsable()
{
    bool usable = true;
    for (int place = 0; place < omp_get_num_places() && usable; ++place) {
        const std::vector<unsigned long> mask = ProcessorMask(place);
        usable = syscall(SYS_sched_setaffinity, 0, mask.size() * sizeof(mask[0]), mask.data()) == 0;
    }
    return usable;
}

void* TryPlaces(void* usable)
{
    try {
        *static_cast<bool*>(usable) = ArePlacesUsable();
    } catch (...) { // no memory
    }
    return nullptr;
}

// A signal of the host must not be handled on a thread of the trial.
class SignalsHeld {
public:
    SignalsHeld()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_;
};

// How many of `count` threads the system starts when they are all there at once.
int Start(int count)
{
    std::vector<Trial> trials(static_cast<size_t>(count));
    std::mutex gate;
    gate.lock();
    const auto refused = std::find_if(trials.begin(), trials.end(), [&](Trial& trial) {
        trial.gate = &gate;
        return pthread_create(&trial.thread, nullptr, WaitAtGate, &trial) != 0;
    });
    gate.unlock();
    std::for_each(trials.begin(), refused, WaitForEnd);
    return static_cast<int>(refused - trials.begin());
}

// The same for threads on the places of OpenMP's settings.
int StartOnPlaces(int count)
{
    bool usable = omp_get_num_places() == 0;
    pthread_t thread;
    if (!usable && pthread_create(&thread, nullptr, TryPlaces, &usable) == 0) {
        pthread_join(thread, nullptr);
    }
    return usable ? Start(count) : 0;
}

// Bytes between where a worker of this team begins its part of a region and the end of its stack.
std::size_t StackOfWorkers(int team)
{
    pthread_t worker = pthread_self();
    const char* top = nullptr;
    const int dynamic = omp_get_dynamic();
    omp_set_dynamic(0);
#pragma omp parallel num_threads(team)
    if (omp_get_thread_num() == 1) {
        worker = pthread_self();
        top = static_cast<const char*>(__builtin_frame_address(0));
    }
    omp_set_dynamic(dynamic);
    pthread_attr_t attributes;
    void* lowest = nullptr;
    std::size_t bytes = 0;
    if (top == nullptr || pthread_getattr_np(worker, &attributes) != 0) {
        return 0;
    }
    pthread_attr_getstack(&attributes, &lowest, &bytes);
    pthread_attr_destroy(&attributes);
    return static_cast<std::size_t>(top - static_cast<const char*>(lowest));
}

// The largest team up to `wanted` that is safe to ask for.
int LargestTeam(int wanted)
{
    int started = 0;
    {
        const SignalsHeld held;
        started = StartOnPlaces(wanted - 1);
    }
    const int team = started == wanted - 1 ? wanted : 1 + started / 2;
    return team > 1 && StackOfWorkers(team) < workerStack ? 1 : team;
}

void LookInto(int wanted)
{
    const std::lock_guard<std::mutex> hold(lookMutex);
    if (wanted > lookedInto && !shortage) {
        available = LargestTeam(wanted);
        foundShortage = available < wanted;
        shortage = foundShortage;
    }
    lookedInto = std::max(lookedInto.load(), wanted);
}

int MostOfPicture(uint32_t width, uint32_t height)
{
    constexpr uint64_t smallPixels = 128 * 128;
    if (uint64_t{width} * height <= smallPixels) {
        return 1;
    }
    constexpr uint32_t limit = std::numeric_limits<int>::max();
    return std::min(omp_get_num_procs(),
                    static_cast<int>(std::min(std::max(width, height), limit)));
}

} // namespace

int TeamSize()
{
    const int allowed = std::min(omp_get_max_threads(), omp_get_thread_limit());
    const int wanted =
        allowed == 1 || most == 1 ? 1 : std::min(allowed, most != 0 ? most : omp_get_num_procs());
    if (wanted <= 1) {
        return 1;
    }
    if (wanted > lookedInto) {
        LookInto(wanted);
    }
    return shortage && !foundShortage ? 1 : std::min(wanted, available.load());
}

PictureThreads::PictureThreads(uint32_t width, uint32_t height) : before_(most)
{
    most = MostOfPicture(width, height);
}

PictureThreads::~PictureThreads()
{
    most = before_;
}

} // namespace lumo::parallel
