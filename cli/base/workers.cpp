#include "base/workers.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace qva {

namespace {

constexpr unsigned mostByDefault = 64;

std::atomic<int> workers{
    static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, mostByDefault))};

/// Threads beside the caller's. As many as the system gives: the work gets done without them.
class Crew {
public:
    /// @param body  gets the number of a worker, from 1; throws nothing.
    Crew(std::int64_t count, const std::function<void(int)>& body)
    {
        threads_.reserve(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
        try {
            for (std::int64_t worker = 1; worker <= count; ++worker) {
                threads_.emplace_back(body, static_cast<int>(worker));
            }
        } catch (const std::system_error&) {
        } catch (const std::bad_alloc&) {
        }
    }
    ~Crew()
    {
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

private:
    std::vector<std::thread> threads_;
};

/// What the threads of a run through slots know of each other.
class SlotRun {
public:
    SlotRun(const SlotSteps& steps, bool sharedFirst)
        : steps_(steps),
          beforeShared_(sharedFirst ? Slot::Empty : Slot::Between),
          beforeOrdered_(sharedFirst ? Slot::Between : Slot::Empty),
          slots_(static_cast<std::size_t>(steps.slots), Slot::Empty)
    {
    }

    void Run();

private:
    enum class Slot { Empty, Between, Busy };
    using Lock = std::unique_lock<std::mutex>;

    Slot& SlotOf(std::int64_t item)
    {
        return slots_[static_cast<std::size_t>(item % steps_.slots)];
    }
    bool IsShareable()
    {
        return nextShared_ < steps_.count && SlotOf(nextShared_) == beforeShared_;
    }
    bool IsOrderable()
    {
        return nextOrdered_ < steps_.count && SlotOf(nextOrdered_) == beforeOrdered_;
    }
    template <typename Step>
    void Take(Lock& lock, std::int64_t item, Slot before, const Step& step);
    void TakeShared(Lock& lock, int worker);
    void TakeOrdered(Lock& lock);
    void HelpAlong(int worker);
    void LeadThrough();

    const SlotSteps& steps_;
    const Slot beforeShared_;
    const Slot beforeOrdered_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Slot> slots_;
    std::int64_t nextShared_ = 0;
    std::int64_t nextOrdered_ = 0;
    std::exception_ptr error_;
};

template <typename Step>
void SlotRun::Take(Lock& lock, std::int64_t item, Slot before, const Step& step)
{
    SlotOf(item) = Slot::Busy;
    lock.unlock();
    std::exception_ptr error;
    try {
        step();
    } catch (...) {
        error = std::current_exception();
    }
    lock.lock();
    if (error && !error_) {
        error_ = error;
    }
    SlotOf(item) = before == Slot::Empty ? Slot::Between : Slot::Empty;
    changed_.notify_all();
}

void SlotRun::TakeShared(Lock& lock, int worker)
{
    const std::int64_t item = nextShared_++;
    Take(lock, item, beforeShared_, [&] { steps_.shared(item, worker); });
}

void SlotRun::TakeOrdered(Lock& lock)
{
    const std::int64_t item = nextOrdered_++;
    Take(lock, item, beforeOrdered_, [&] { steps_.ordered(item); });
}

void SlotRun::HelpAlong(int worker)
{
    Lock lock(mutex_);
    while (!error_ && nextShared_ < steps_.count) {
        if (IsShareable()) {
            TakeShared(lock, worker);
        } else {
            changed_.wait(lock);
        }
    }
}

// What nobody else may do goes first; otherwise the caller helps.
void SlotRun::LeadThrough()
{
    Lock lock(mutex_);
    while (!error_ && (nextOrdered_ < steps_.count || nextShared_ < steps_.count)) {
        if (IsOrderable()) {
            TakeOrdered(lock);
        } else if (IsShareable()) {
            TakeShared(lock, 0);
        } else {
            changed_.wait(lock);
        }
    }
}

void SlotRun::Run()
{
    {
        const std::int64_t most = std::min({std::int64_t{Workers()}, steps_.slots, steps_.count});
        const Crew crew(most - 1, [this](int worker) { HelpAlong(worker); });
        LeadThrough();
    }
    if (error_) {
        std::rethrow_exception(error_);
    }
}

} // namespace

void SetWorkers(int count)
{
    workers = std::max(count, 1);
}

int Workers()
{
    return workers;
}

void ForEach(std::int64_t count, const ItemWork& body)
{
    std::atomic<std::int64_t> next{0};
    std::mutex mutex;
    std::exception_ptr error;
    const auto work = [&](int worker) {
        try {
            for (std::int64_t item = next++; item < count; item = next++) {
                body(item, worker);
            }
        } catch (...) {
            const std::lock_guard<std::mutex> lock(mutex);
            error = error ? error : std::current_exception();
            next = count;
        }
    };
    {
        const Crew crew(std::min<std::int64_t>(Workers(), count) - 1, work);
        work(0);
    }
    if (error) {
        std::rethrow_exception(error);
    }
}

void RunSharedFirst(const SlotSteps& steps)
{
    SlotRun(steps, true).Run();
}

void RunOrderedFirst(const SlotSteps& steps)
{
    SlotRun(steps, false).Run();
}

std::int64_t UsualSlots()
{
    constexpr int most = 32;
    return std::min(2 * Workers(), most);
}

} // namespace qva
