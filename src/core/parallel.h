// The only parallel regions of the library: loops split statically over the threads.
#pragma once

#include "core/team_size.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <omp.h>
#include <optional>

namespace lumo {

/// While one lives, the loops of its thread run on that thread alone: for work so small that waking
/// other threads, and waiting for them on a busy machine, costs more than they give. Every call has
/// one, small or not.
class SmallWork {
public:
    explicit SmallWork(bool small) : small_(small)
    {
        depth_ += small_ ? 1 : 0;
        parallel::ForgetShortage();
    }
    SmallWork(const SmallWork&) = delete;
    SmallWork& operator=(const SmallWork&) = delete;
    ~SmallWork() { depth_ -= small_ ? 1 : 0; }
    static bool UnderWay() { return depth_ > 0; }

private:
    static inline thread_local int depth_ = 0;
    bool small_;
};

namespace parallel {

/// Whether a loop of `count` items should stay on its thread.
inline bool StaysOnThread(int64_t count)
{
    return count == 1 || SmallWork::UnderWay() || omp_in_parallel() != 0 || TeamSize() == 1;
}

/// Keeps the first exception of a region.
class FirstFailure {
public:
    template <typename Work>
    void Guard(Work&& work)
    {
        try {
            work();
        } catch (...) {
            if (!claimed_.test_and_set()) {
                failure_ = std::current_exception();
            }
            failed_.store(true, std::memory_order_release);
        }
    }
    bool Failed() const { return failed_.load(std::memory_order_acquire); }
    void Rethrow() const
    {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
    }

private:
    std::exception_ptr failure_;
    std::atomic_flag claimed_ = ATOMIC_FLAG_INIT;
    std::atomic<bool> failed_{false};
};

} // namespace parallel

/// Calls body(first, last, scratch) for contiguous parts of [begin, end), one part a thread, each
/// with its own scratch = prepare().
///
/// What a body computes must not depend on where the parts begin. No body starts before every
/// scratch is there, so a loop that fails for want of memory has written nothing. Inside another
/// region, or for a single item, everything runs on the calling thread. The first exception is
/// rethrown after all parts have ended.
template <typename Prepare, typename Body>
void ParallelRangesWith(int64_t begin, int64_t end, Prepare&& prepare, Body&& body)
{
    const int64_t count = end - begin;
    if (count <= 0) {
        return;
    }
    if (parallel::StaysOnThread(count)) {
        auto scratch = prepare();
        body(begin, end, scratch);
        return;
    }
    parallel::FirstFailure failure;
#pragma omp parallel num_threads(parallel::TeamSize())
    {
        const int64_t parts = omp_get_num_threads();
        const int64_t part = omp_get_thread_num();
        if (part == 0) {
            parallel::NoteTeam(static_cast<int>(parts));
        }
        const int64_t first = begin + count * part / parts;
        const int64_t last = begin + count * (part + 1) / parts;
        std::optional<decltype(prepare())> scratch;
        if (first < last) {
            failure.Guard([&] { scratch.emplace(prepare()); });
        }
#pragma omp barrier
        if (first < last && !failure.Failed()) {
            failure.Guard([&] { body(first, last, *scratch); });
        }
    }
    failure.Rethrow();
}

/// The same for a body(first, last) that needs no scratch.
template <typename Body>
void ParallelRanges(int64_t begin, int64_t end, Body&& body)
{
    struct None {};
    ParallelRangesWith(
        begin, end, [] { return None(); },
        [&](int64_t first, int64_t last, None&) { body(first, last); });
}

/// Calls body(i) for every i of [begin, end) in parallel.
template <typename Body>
void ParallelFor(int64_t begin, int64_t end, Body&& body)
{
    ParallelRanges(begin, end, [&](int64_t first, int64_t last) {
        for (int64_t i = first; i < last; ++i) {
            body(static_cast<int32_t>(i));
        }
    });
}

} // namespace lumo
