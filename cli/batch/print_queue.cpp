#include "batch/print_queue.h"

#include "base/digest.h"
#include "base/errors.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <utility>

namespace qva {

namespace {

/// What the print itself says of its failure, or what can be seen from outside.
std::string ReasonOf(const ChildResult& result)
{
    const auto told = nlohmann::json::parse(result.output, nullptr, false);
    const auto error = told.is_object() ? told.find("error") : told.end();
    if (told.is_object() && error != told.end() && error->is_object()) {
        return error->value("message", "");
    }
    if (result.exitCode > exitSignal) {
        return fmt::format("its print was ended by signal {}", result.exitCode - exitSignal);
    }
    return result.messages.empty() ? "its print failed without a word" : OneLine(result.messages);
}

std::string PrintDigest(const QueueSettings& settings, const std::string& photo)
{
    Digest digest;
    digest.Add(settings.digest);
    digest.AddFile(photo);
    return digest.Text();
}

} // namespace

bool IsUpToDate(const QueueSettings& settings, const Journal& journal, const PrintJob& job)
{
    return journal.HasPrint(job.output, job.sideBySide, PrintDigest(settings, job.photo));
}

PrintQueue::PrintQueue(QueueSettings settings, StopSignals& signals, Journal& journal,
                       Listener listener)
    : settings_(std::move(settings)),
      journal_(journal),
      listener_(std::move(listener)),
      signals_(signals)
{
}

PrintQueue::~PrintQueue()
{
    for (const Running& task : running_) {
        task.process.Signal(SIGTERM);
    }
}

std::vector<std::string> PrintQueue::WordsFor(const Waiting& task) const
{
    const auto jobs = static_cast<std::uint64_t>(task.alone ? 1 : settings_.jobs);
    std::vector<std::string> words = {"print", "--json", "--quiet",
                                      fmt::format("--max-memory={}", settings_.memory / jobs),
                                      "--output=" + task.job.output};
    words.insert(words.end(), settings_.words.begin(), settings_.words.end());
    if (!task.job.sideBySide.empty()) {
        words.push_back("--side-by-side=" + task.job.sideBySide);
    }
    words.insert(words.end(), {"--", task.job.photo});
    return words;
}

bool PrintQueue::IsRunningAlone() const
{
    return !running_.empty() && running_.front().task.alone;
}

/// A picture that was replaced waits until the print of the old one has its name.
bool PrintQueue::IsBeingPrinted(const PrintJob& job) const
{
    return std::any_of(running_.begin(), running_.end(),
                       [&job](const Running& task) { return task.task.job.output == job.output; });
}

bool PrintQueue::BeginOne(const Waiting& task)
{
    Record record;
    record.photo = task.job.photo;
    record.output = task.job.output;
    record.begun = TimeNow();
    try {
        record.digest = PrintDigest(settings_, task.job.photo);
        if (!settings_.force &&
            journal_.HasPrint(task.job.output, task.job.sideBySide, record.digest)) {
            record.status = Record::Status::Done;
            listener_(record, Outcome::UpToDate);
            return false;
        }
    } catch (const Failure& failure) {
        record.status = Record::Status::Failed;
        record.exitCode = failure.ExitCode();
        record.message = failure.what();
        journal_.Append(record);
        listener_(record, Outcome::Failed);
        return false;
    }
    journal_.Append(record);
    running_.push_back(
        {ChildProcess(WordsFor(task), signals_.Before(), journal_.PrintsLock()), record, task});
    return true;
}

bool PrintQueue::Begin()
{
    while (!stopping_ && !waiting_.empty() && !IsRunningAlone() &&
           running_.size() < static_cast<std::size_t>(settings_.jobs) &&
           (!waiting_.front().alone || running_.empty()) && !IsBeingPrinted(waiting_.front().job))
    {
        const Waiting task = waiting_.front();
        waiting_.pop_front();
        if (!BeginOne(task)) {
            // Looking at it took its time: a request to end may have come.
            return true;
        }
    }
    return false;
}

void PrintQueue::End(Ended& ended, bool isStopping)
{
    Running& task = ended.task;
    const ChildResult& result = ended.result;
    Record& record = task.record;
    const bool isInterrupted = isStopping && result.exitCode != exitDone;
    // What failed for want of memory gets all of it, once the others are done.
    if (result.exitCode == exitFailed && !task.task.alone && settings_.jobs > 1 && !isInterrupted) {
        waiting_.push_back({task.task.job, true});
        return;
    }
    record.seconds = static_cast<double>(TimeNow() - record.begun) * 1e-9;
    record.peakMemory = result.peakMemory;
    record.exitCode = result.exitCode;
    record.print = result.output;
    Outcome outcome = Outcome::Printed;
    if (result.exitCode == exitDone) {
        const FileStamp stamp = StampOf(record.output);
        record.status = Record::Status::Done;
        record.size = stamp.size;
        record.modified = stamp.modified;
    } else {
        outcome = isInterrupted ? Outcome::Stopped : Outcome::Failed;
        record.status = isInterrupted ? Record::Status::Stopped : Record::Status::Failed;
        record.message = isInterrupted ? "stopped" : ReasonOf(result);
    }
    journal_.Append(record);
    listener_(record, outcome);
}

std::vector<PrintQueue::Ended> PrintQueue::Collect()
{
    std::vector<Ended> all;
    for (auto task = running_.begin(); task != running_.end();) {
        if (const std::optional<ChildResult> result = task->process.Result()) {
            all.push_back({std::move(*task), *result});
            task = running_.erase(task);
        } else {
            ++task;
        }
    }
    return all;
}

int PrintQueue::Work(int milliseconds, int other)
{
    constexpr int shortWhile = 20;
    const bool isAlone = waiting_.empty() || journal_.AwaitOthers();
    if (!isAlone && !std::exchange(isWaitTold_, true)) {
        Say("qva: waits for the prints of a run that was killed to end\n");
    }
    const bool goesOn = isAlone && Begin();
    const int wait = !isAlone                                    ? shortWhile
                     : goesOn || (running_.empty() && other < 0) ? 0
                                                                 : milliseconds;
    pollfd events[] = {{signals_.Number(), POLLIN, 0}, {other, POLLIN, 0}};
    poll(events, 2, wait);
    // A signal to the whole group may have ended a print: then it has come here, too.
    std::vector<Ended> all = Collect();
    const int signal = signals_.Take();
    for (Ended& ended : all) {
        End(ended, stopping_ || signal != 0);
    }
    return signal;
}

void PrintQueue::Stop()
{
    stopping_ = true;
    waiting_.clear();
    for (const Running& task : running_) {
        task.process.Signal(SIGTERM);
    }
    while (!running_.empty()) {
        // Another request changes nothing: it is on its way.
        Work(-1);
    }
}

} // namespace qva
