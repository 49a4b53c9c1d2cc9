// The only parallel regions of the library: loops split statically over the threads.
#pragma once

#include "core/team_size.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <omp.h>
#include <optional>

namespace lumo {

namespace parallel {

/// How many threads a loop may have here.
inline int Threads()
{
    return omp_in_parallel() != 0 ? 1 : TeamSize();
}

/// Whether a loop of `count` items should stay on its thread.
inline bool StaysOnThread(int64_t count)
{
    return count == 1 || Threads() == 1;
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

/// Calls body(phase, first, last, scratch) for contiguous parts of [0, count(phase)), one part a
/// thread, each thread with its own scratch = prepare(), phase after phase: none begins before the
/// one ahead of it has ended everywhere.
///
/// What a body computes must not depend on where the parts begin. No body starts before every
/// scratch is there, so a loop that fails for want of memory has written nothing. Inside another
/// region, or for phases of a single item, everything runs on the calling thread. The first
/// exception is rethrown after all parts have ended; what comes after it is left out.
template <typename Count, typename Prepare, typename Body>
void ParallelPhases(int32_t phases, Count&& count, Prepare&& prepare, Body&& body)
{
    int64_t most = 0;
    for (int32_t phase = 0; phase < phases; ++phase) {
        most = std::max<int64_t>(most, count(phase));
    }
    if (most <= 0) {
        return;
    }
    if (parallel::StaysOnThread(most)) {
        auto scratch = prepare();
        for (int32_t phase = 0; phase < phases; ++phase) {
            body(phase, int64_t{0}, static_cast<int64_t>(count(phase)), scratch);
        }
        return;
    }
    parallel::FirstFailure failure;
#pragma omp parallel num_threads(parallel::TeamSize())
    {
        const int64_t parts = omp_get_num_threads();
        const int64_t part = omp_get_thread_num();
        const auto bound = [&](int32_t phase, int64_t of) { return count(phase) * of / parts; };
        std::optional<decltype(prepare())> scratch;
        for (int32_t phase = 0; phase < phases; ++phase) {
            if (bound(phase, part) < bound(phase, part + 1)) {
                failure.Guard([&] { scratch.emplace(prepare()); });
                break;
            }
        }
        for (int32_t phase = 0; phase < phases; ++phase) {
#pragma omp barrier
            const int64_t first = bound(phase, part);
            const int64_t last = bound(phase, part + 1);
            if (first < last && !failure.Failed()) {
                failure.Guard([&] { body(phase, first, last, *scratch); });
            }
        }
    }
    failure.Rethrow();
}

/// One phase over [begin, end): body(first, last, scratch).
template <typename Prepare, typename Body>
void ParallelRangesWith(int64_t begin, int64_t end, Prepare&& prepare, Body&& body)
{
    ParallelPhases(
        1, [&](int32_t) { return end - begin; }, prepare,
        [&](int32_t, int64_t first, int64_t last, auto& scratch) {
            body(begin + first, begin + last, scratch);
        });
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
