// qva watch: a folder whose pictures are printed as they come.
#include "base/errors.h"
#include "base/output_file.h"
#include "batch/hot_folder.h"
#include "command/batch_options.h"
#include "command/command.h"
#include "command/json_output.h"
#include "command/option_checks.h"

#include <csignal>
#include <filesystem>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <utility>

namespace qva {

namespace {

constexpr const char* watchExamples =
    "A picture is printed once it has been left alone for a while and nobody has it open for "
    "writing.\n"
    "One that cannot be printed goes to the folder \"failed\" in FOLDER, with its reason beside "
    "it.\n"
    "What was printed is told in qva-watch.jsonl beside the prints, so that a restart prints "
    "nothing\n"
    "twice; a picture that is replaced by another of its name is printed again. SIGTERM ends it.\n"
    "\n"
    "Example:\n"
    "  qva watch incoming/ -o prints/ --profile printer.icc";

class WatchCommand : public Command {
public:
    void AddOptions(CLI::App& app) override;
    void Finish() override;
    void Run() override;
    std::string Subject() const override { return folder_; }
    bool WantsJson() const override { return options_.json; }

private:
    int Watch(PrintQueue& queue, const Journal& journal);
    void Offer(const std::string& photo, PrintQueue& queue, const Journal& journal);
    void Take(const Record& record, PrintQueue::Outcome outcome);
    void Refuse(const std::string& photo, const std::string& reason);
    void Tell(const std::string& photo, const std::string& what) const;

    BatchOptions options_;
    std::string folder_;
    double settle_ = 2.0;
    bool dryRun_ = false;
    std::size_t printed_ = 0;
    std::size_t failed_ = 0;
    std::optional<std::pair<std::string, int>> ended_; ///< why, and the exit code
};

void WatchCommand::AddOptions(CLI::App& app)
{
    app.add_option("FOLDER", folder_, "Where pictures are put")->required()->type_name("");
    AddBatchOptions(app, options_);
    AddNumber(app, "--settle", "Seconds that a picture must have been left alone (2)", 0.05, 3600.0,
              [this](double value) { settle_ = value; })
        ->group("Many pictures");
    AddDryRunOption(app, dryRun_)->group("Output");
    app.footer(watchExamples);
}

void WatchCommand::Finish()
{
    FinishBatch(options_);
    if ((options_.names.name + options_.names.sideBySide).find("{n}") != std::string::npos) {
        throw Misuse("--name", "{n} counts the pictures of a batch; here they have no number");
    }
    if (AreSameFile(folder_, options_.names.folder)) {
        throw Misuse(options_.names.folder, "is the folder that is watched: prints go to another");
    }
}

void WatchCommand::Tell(const std::string& photo, const std::string& what) const
{
    if (!options_.quiet) {
        Say(fmt::format("qva: {}: {}\n", OneLine(photo), OneLine(what)));
    }
}

void WatchCommand::Refuse(const std::string& photo, const std::string& reason)
{
    ++failed_;
    const std::string moved = MoveToFailed(photo, reason);
    Say(fmt::format("qva: {}: failed, and is {} now: {}\n", OneLine(photo), OneLine(moved),
                    OneLine(reason)));
}

void WatchCommand::Take(const Record& record, PrintQueue::Outcome outcome)
{
    if (options_.json && outcome != PrintQueue::Outcome::UpToDate) {
        fmt::print("{}\n", RecordText(record, "watch"));
        std::fflush(stdout);
    }
    switch (outcome) {
    case PrintQueue::Outcome::Printed:
        ++printed_;
        Tell(record.photo, fmt::format("printed in {:.1f} s", record.seconds));
        break;
    case PrintQueue::Outcome::Failed:
        if (record.exitCode == exitOutput || record.exitCode == exitProfile) {
            // Not for its sake: the disk is full, a folder or the profile is gone.
            ended_.emplace(record.message, record.exitCode);
            break;
        }
        Refuse(record.photo, record.message);
        break;
    case PrintQueue::Outcome::UpToDate:
    case PrintQueue::Outcome::Stopped:
        break;
    }
}

void WatchCommand::Offer(const std::string& photo, PrintQueue& queue, const Journal& journal)
{
    const PrintJob job = JobOf(photo, 0, options_.names);
    const std::string other = journal.PhotoOf(job.output);
    std::error_code error;
    if (std::filesystem::exists(other, error) && !AreSameFile(other, photo)) {
        Refuse(photo, fmt::format("{} is the print of {} already: give --name with {{ext}}",
                                  job.output, other));
        return;
    }
    queue.Add(job);
}

int WatchCommand::Watch(PrintQueue& queue, const Journal& journal)
{
    HotFolder folder(folder_, settle_);
    for (;;) {
        for (const std::string& photo : folder.TakeComplete()) {
            Offer(photo, queue, journal);
        }
        const int signal = queue.Work(folder.Patience(), folder.Number());
        if (ended_) {
            queue.Stop();
            throw Failure(folder_, ended_->first, ended_->second);
        }
        if (signal != 0) {
            queue.Stop();
            return signal;
        }
    }
}

void WatchCommand::Run()
{
    std::optional<StopSignals> signals(std::in_place);
    const QueueSettings settings = SettingsOf(options_, options_.words);
    if (dryRun_) {
        signals.reset();
        std::vector<PrintJob> jobs;
        for (const std::string& photo : PicturesOf({folder_})) {
            jobs.push_back(JobOf(photo, 0, options_.names));
        }
        TellPlan("watch", settings, FileOf(options_.names.folder, "qva-watch.jsonl"), jobs,
                 options_.json);
        return;
    }
    MakeFolder(options_.names.folder);
    Journal journal(FileOf(options_.names.folder, "qva-watch.jsonl"), "watch");
    int signal = 0;
    {
        PrintQueue queue(settings, *signals, journal,
                         [this](const Record& record, auto outcome) { Take(record, outcome); });
        signal = Watch(queue, journal);
    }
    Tell(folder_, fmt::format("watched no more: {} printed, {} failed", printed_, failed_));
    std::fflush(stdout);
    signals.reset();
    std::raise(signal);
}

} // namespace

std::unique_ptr<Command> MakeWatchCommand()
{
    return std::make_unique<WatchCommand>();
}

} // namespace qva
