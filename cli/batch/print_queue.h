// Prints pictures, some at a time.
#pragma once

#include "base/child_process.h"
#include "batch/journal.h"
#include "batch/picture_list.h"
#include "batch/stop_signals.h"

#include <deque>
#include <functional>
#include <list>
#include <string>
#include <vector>

namespace qva {

struct QueueSettings {
    std::vector<std::string> words; ///< options of qva print for every picture
    std::string digest;             ///< of what decides the prints, but for the pictures
    int jobs = 1;
    std::uint64_t memory = 0; ///< bytes for all jobs together
    bool force = false;       ///< print again what is there already
};

/// Whether the print of a picture is there already.
/// @throws Failure where the picture cannot be read.
bool IsUpToDate(const QueueSettings& settings, const Journal& journal, const PrintJob& job);

/// Every picture is printed by a program of its own. A picture that crashes its reader, or that the
/// system kills for its memory, loses nothing but itself; memory that a library leaks or keeps goes
/// with it; and what a job may need is what is asked of qva print.
class PrintQueue {
public:
    enum class Outcome { Printed, UpToDate, Failed, Stopped };
    using Listener = std::function<void(const Record& record, Outcome outcome)>;

    /// Signals and journal must outlive this.
    PrintQueue(QueueSettings settings, StopSignals& signals, Journal& journal, Listener listener);
    /// Ends what runs.
    ~PrintQueue();
    PrintQueue(const PrintQueue&) = delete;
    PrintQueue& operator=(const PrintQueue&) = delete;

    void Add(const PrintJob& job) { waiting_.push_back({job, false}); }

    /// Nothing more is begun.
    void Close() { waiting_.clear(); }

    bool IsIdle() const { return waiting_.empty() && running_.empty(); }

    /// Begins what there is room for, and waits until something happens.
    /// @param milliseconds  to wait at most; below 0 for as long as it takes.
    /// @param other         another descriptor that ends the wait; below 0 for none.
    /// @return the signal that asks to end, or 0.
    int Work(int milliseconds, int other = -1);

    /// Asks what runs to end, and waits for that.
    void Stop();

private:
    struct Waiting {
        PrintJob job;
        bool alone; ///< with all memory for it
    };
    struct Running {
        ChildProcess process;
        Record record;
        Waiting task;
    };

    /// @return whether more may begin at once.
    bool Begin();
    bool BeginOne(const Waiting& task);
    struct Ended {
        Running task;
        ChildResult result;
    };

    std::vector<Ended> Collect();
    void End(Ended& ended, bool isStopping);
    bool IsRunningAlone() const;
    bool IsBeingPrinted(const PrintJob& job) const;
    std::vector<std::string> WordsFor(const Waiting& task) const;

    QueueSettings settings_;
    Journal& journal_;
    Listener listener_;
    StopSignals& signals_;
    std::deque<Waiting> waiting_;
    std::list<Running> running_;
    bool stopping_ = false;
    bool isWaitTold_ = false;
};

} // namespace qva
