// qva batch: many pictures.
#include "base/errors.h"
#include "base/output_file.h"
#include "base/progress.h"
#include "batch/batch_plan.h"
#include "command/batch_options.h"
#include "command/command.h"
#include "command/json_output.h"
#include "command/page_options.h"
#include "command/remarks.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fmt/format.h>
#include <optional>

namespace qva {

namespace {

constexpr const char* batchExamples =
    "Every picture is printed by a process of its own: what crashes one harms no other.\n"
    "What became of each is told in qva-batch.jsonl in the folder of the prints. A picture is "
    "passed\n"
    "over where its print is there, made from the same bytes with the same options, profile and\n"
    "version. A batch that was stopped goes on with the same command.\n"
    "\n"
    "Examples:\n"
    "  qva batch photos/ -o prints/ --profile printer.icc --keep-going\n"
    "  qva batch list.txt 'holiday/*.exr' -o prints/ --name '{n}-{name}.tif' --jobs 4 "
    "--max-memory 8G\n"
    "  qva batch --resume -o prints/         goes on, with the pictures and options of before\n"
    "  parallel qva batch list.txt -o prints/ --part {}/4 --jobs 1 ::: 1 2 3 4";

struct Failed {
    std::string photo;
    int exitCode;
    std::string message;
};

class BatchCommand : public Command {
public:
    void AddOptions(CLI::App& app) override;
    void Finish() override;
    void Run() override;
    std::string Subject() const override { return options_.names.folder; }
    bool WantsJson() const override { return options_.json && !isTold_; }

private:
    std::vector<PrintJob> JobsOf(const BatchPlan& plan) const;
    BatchPlan PlanOf() const;
    void CheckOthers(const std::vector<PrintJob>& jobs, const Journal& journal) const;
    std::string InFolder(const char* what) const;
    /// @return the signal that asks to end, or 0.
    int PrintAll(const std::vector<PrintJob>& jobs, const QueueSettings& settings,
                 StopSignals& signals, Journal& journal);
    void Take(const Record& record, PrintQueue::Outcome outcome);
    void ShowProgress();
    void TellSummary(const char* status);
    void TellJson(const char* status, double seconds) const;

    BatchOptions options_;
    std::vector<std::string> words_;
    std::optional<Share> part_;
    bool keepGoing_ = false;
    bool resume_ = false;
    bool dryRun_ = false;

    bool isTold_ = false; ///< the last word for programs has been said
    std::size_t all_ = 0;
    std::size_t printed_ = 0;
    std::size_t upToDate_ = 0;
    std::size_t stopped_ = 0;
    std::vector<Failed> failures_;
    std::optional<Progress> progress_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

void BatchCommand::AddOptions(CLI::App& app)
{
    app.add_option("PHOTO", words_,
                   "Pictures: files, folders, globs, lists (.txt or .list, a path a line); - is a "
                   "list on standard input")
        ->type_name("");
    AddBatchOptions(app, options_);
    const char* group = "Many pictures";
    app.add_flag("--keep-going", keepGoing_, "Go on with the others where one fails")->group(group);
    app.add_flag("--resume", resume_,
                 "Go on with the batch of this folder; its pictures and options are known")
        ->group(group);
    AddShareOption(app, "--part", part_, "Print only the part i of n: every n-th picture")
        ->group(group);
    AddDryRunOption(app, dryRun_)->group("Output");
    app.footer(batchExamples);
}

void BatchCommand::Finish()
{
    if (words_.empty() && !resume_) {
        throw Misuse("command line", "names no pictures; give files, folders, globs or a list");
    }
    FinishBatch(options_);
    const NamePatterns usual;
    const bool hasNames =
        options_.names.name != usual.name || options_.names.sideBySide != usual.sideBySide;
    if (resume_ && (!words_.empty() || !options_.words.empty() || hasNames)) {
        throw Misuse("--resume", "goes on with the pictures and options of before; to change them, "
                                 "leave it out and name the pictures again");
    }
}

/// A part has files of its own, so that parts can be printed at the same time.
std::string BatchCommand::InFolder(const char* what) const
{
    const std::string part =
        part_ ? fmt::format("-{}of{}", part_->number, part_->count) : std::string();
    return FileOf(options_.names.folder, fmt::format("qva-batch{}.{}", part, what));
}

std::vector<PrintJob> BatchCommand::JobsOf(const BatchPlan& plan) const
{
    std::vector<PrintJob> jobs;
    std::int64_t number = 0;
    for (const std::string& photo : plan.photos) {
        jobs.push_back(JobOf(photo, ++number, plan.names));
    }
    CheckJobs(jobs);
    if (part_) {
        std::int64_t place = 0;
        std::erase_if(jobs, [this, &place](const PrintJob&) {
            return place++ % part_->count != part_->number - 1;
        });
    }
    return jobs;
}

BatchPlan BatchCommand::PlanOf() const
{
    if (!words_.empty()) {
        return {PicturesOf(words_), options_.names, options_.words};
    }
    BatchPlan plan = LoadPlan(InFolder("plan"));
    plan.names.folder = options_.names.folder;
    return plan;
}

/// The prints of other pictures are not replaced unasked, as where two cards have an IMG_1.exr
/// each.
void BatchCommand::CheckOthers(const std::vector<PrintJob>& jobs, const Journal& journal) const
{
    for (const PrintJob& job : jobs) {
        const std::string other = options_.force ? "" : journal.PhotoOf(job.output);
        std::error_code error;
        if (!other.empty() && std::filesystem::exists(other, error) &&
            !AreSameFile(other, job.photo)) {
            throw Misuse(job.output,
                         fmt::format("is the print of {} already: give another -o, --name with "
                                     "{{folder}}, or --force",
                                     other));
        }
    }
}

void BatchCommand::ShowProgress()
{
    const std::size_t done = printed_ + upToDate_ + stopped_ + failures_.size();
    progress_->Show(failures_.empty()
                        ? fmt::format("{} of {} pictures", done, all_)
                        : fmt::format("{} of {} pictures, {} failed", done, all_, failures_.size()),
                    all_ > 0 ? static_cast<double>(done) / static_cast<double>(all_) : -1.0);
}

void BatchCommand::Take(const Record& record, PrintQueue::Outcome outcome)
{
    std::string what;
    switch (outcome) {
    case PrintQueue::Outcome::Printed:
        ++printed_;
        what = fmt::format("printed in {:.1f} s", record.seconds);
        break;
    case PrintQueue::Outcome::UpToDate:
        ++upToDate_;
        what = "up to date";
        break;
    case PrintQueue::Outcome::Failed:
        failures_.push_back({record.photo, record.exitCode, record.message});
        what = "failed: " + record.message;
        break;
    case PrintQueue::Outcome::Stopped:
        ++stopped_;
        what = "stopped";
        break;
    }
    progress_->Clear();
    if (!options_.quiet) {
        Say(fmt::format("qva: {}/{} {}: {}\n", printed_ + upToDate_ + stopped_ + failures_.size(),
                        all_, OneLine(record.photo), OneLine(what)));
    }
    if (options_.json) {
        fmt::print("{}\n", RecordText(record, "batch"));
        std::fflush(stdout);
    }
    ShowProgress();
}

void BatchCommand::TellJson(const char* status, double seconds) const
{
    JsonWriter json(false);
    BeginOutput(json, "batch", status);
    json.Add("pictures", all_);
    json.Add("printed", printed_);
    json.Add("upToDate", upToDate_);
    json.Add("failed", failures_.size());
    json.Add("stopped", all_ - printed_ - upToDate_ - failures_.size());
    json.Add("seconds", seconds);
    json.OpenArray("failures");
    for (const Failed& failed : failures_) {
        json.OpenObject();
        json.Add("file", failed.photo);
        json.Add("exitCode", failed.exitCode);
        json.Add("message", failed.message);
        json.Close();
    }
    json.Close();
    EndOutput(json);
}

void BatchCommand::TellSummary(const char* status)
{
    progress_->Clear();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
    const std::size_t left = all_ - printed_ - upToDate_ - failures_.size();
    if (!options_.quiet) {
        Say(fmt::format("qva: {} picture{}: {} printed, {} up to date, {} not done, {} failed, in "
                        "{}\n",
                        all_, all_ == 1 ? "" : "s", printed_, upToDate_, left, failures_.size(),
                        ClockOf(passed.count())));
    }
    for (const Failed& failed : failures_) {
        const bool isNamed = failed.message.find(failed.photo) != std::string::npos;
        Say(fmt::format("qva: failed: {}\n",
                        OneLine(isNamed ? failed.message
                                        : fmt::format("{}: {}", failed.photo, failed.message))));
    }
    if (options_.json) {
        TellJson(status, passed.count());
        isTold_ = true;
    }
}

int BatchCommand::PrintAll(const std::vector<PrintJob>& jobs, const QueueSettings& settings,
                           StopSignals& signals, Journal& journal)
{
    PrintQueue queue(settings, signals, journal,
                     [this](const Record& record, auto outcome) { Take(record, outcome); });
    for (const PrintJob& job : jobs) {
        queue.Add(job);
    }
    int signal = 0;
    while (!queue.IsIdle() && signal == 0) {
        signal = queue.Work(-1);
        if (!keepGoing_ && !failures_.empty()) {
            queue.Close();
        }
    }
    if (signal != 0) {
        queue.Stop();
    }
    return signal;
}

void BatchCommand::Run()
{
    std::optional<StopSignals> signals(std::in_place);
    const BatchPlan plan = PlanOf();
    const std::vector<PrintJob> jobs = JobsOf(plan);
    all_ = jobs.size();
    const QueueSettings settings = SettingsOf(options_, plan.words);
    if (dryRun_) {
        signals.reset();
        CheckOthers(jobs, Journal::Peek(InFolder("jsonl")));
        TellPlan("batch", settings, InFolder("jsonl"), jobs, options_.json);
        return;
    }
    MakeFolder(options_.names.folder);
    Journal journal(InFolder("jsonl"), "batch");
    CheckOthers(jobs, journal);
    TellLeftovers({FileOf(options_.names.folder, "")}, options_.quiet);
    Save(plan, InFolder("plan"));
    progress_.emplace(options_.quiet ? ProgressStyle::None : ProgressStyle::Terminal);
    const int signal = PrintAll(jobs, settings, *signals, journal);
    TellSummary(signal != 0 ? "stopped" : failures_.empty() ? "done" : "failed");
    if (signal != 0) {
        Say(fmt::format("qva: stopped; the same command goes on, or qva batch --resume -o {}\n",
                        OneLine(options_.names.folder)));
        std::fflush(stdout);
        signals.reset();
        std::raise(signal);
    }
    if (!failures_.empty()) {
        throw Failure(options_.names.folder,
                      fmt::format("{} of {} pictures failed", failures_.size(), all_), exitFailed);
    }
}

} // namespace

std::unique_ptr<Command> MakeBatchCommand()
{
    return std::make_unique<BatchCommand>();
}

} // namespace qva
