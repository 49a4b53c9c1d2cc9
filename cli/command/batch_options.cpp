#include "command/batch_options.h"

#include "base/digest.h"
#include "base/errors.h"
#include "base/memory_limit.h"
#include "command/json_output.h"
#include "command/option_checks.h"
#include "command/printer_presets.h"
#include "render/profile_trial.h"
#include "render/threads.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fmt/format.h>
#include <lumo/qva.h>
#include <thread>
#include <utility>

namespace qva {

namespace {

constexpr const char* group = "Many pictures";

int Cores()
{
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, mostThreads);
}

void AddNameOptions(CLI::App& app, NamePatterns& names)
{
    app.add_option("-o,--output", names.folder,
                   "The folder of the prints; made where it is missing")
        ->required()
        ->check(NotEmpty())
        ->type_name("FOLDER")
        ->group(group);
    app.add_option(
           "--name", names.name,
           "How prints are called: {name} and {ext} of the picture, its {folder}, its number "
           "{n} ({name}.tif)")
        ->type_name("PATTERN")
        ->group(group);
    app.add_option("--side-by-side", names.sideBySide,
                   "Also write a small sRGB sheet for every picture, such as {name}-look.png")
        ->type_name("PATTERN")
        ->group(group);
}

/// @return the last value of an option among words, "" where it is not given.
std::string ValueIn(const std::vector<std::string>& words, const std::string& option)
{
    std::string value;
    for (const std::string& word : words) {
        if (word.starts_with(option)) {
            value = word.substr(option.size());
        }
    }
    return value;
}

/// A picture that cannot be read will fail when it is printed.
bool IsThere(const QueueSettings& settings, const Journal& records, const PrintJob& job)
{
    try {
        return IsUpToDate(settings, records, job);
    } catch (const Failure&) {
        return false;
    }
}

} // namespace

void AddBatchOptions(CLI::App& app, BatchOptions& options)
{
    const std::vector<CLI::Option*> before = app.get_options();
    AddRenderingOptions(app, options.print);
    for (CLI::Option* option : app.get_options()) {
        if (std::find(before.begin(), before.end(), option) == before.end()) {
            options.printOptions.push_back(option);
        }
    }
    AddNameOptions(app, options.names);
    app.add_option("--jobs", options.jobs,
                   "Pictures at a time (one per core, as far as memory has room)")
        ->check(WholeNumber(1, mostThreads))
        ->type_name("NUMBER")
        ->group(group);
    app.add_option_function<std::string>(
           "--max-memory",
           [&options](const std::string& text) { options.maxMemory = *ParseByteCount(text); },
           "Bytes for all jobs together, such as 4G (most of what the machine has)")
        ->check(ByteCount(LeastMemory()))
        ->type_name("BYTES")
        ->group(group);
    options.printOptions.push_back(AddNoClobberOption(app, options.print.noClobber)->group(group));
    app.add_flag("--force", options.force, "Print again what is up to date")->group(group);
    AddJsonOption(app, options.json)->group("Output");
    app.add_flag("-q,--quiet", options.quiet, "Tell only what failed")->group("Output");
}

void FinishBatch(BatchOptions& options)
{
    CheckPatterns(options.names);
    options.print.printer.Apply(options.print);
    CheckWriting(options.print, options.names.name, options.names.sideBySide);
    FinishSize(options.print.size, options.print.write);
    for (const CLI::Option* option : std::exchange(options.printOptions, {})) {
        const std::string name =
            option->get_lnames().empty() ? std::string() : option->get_lnames().front();
        if (option->count() == 0 || name.empty()) {
            continue;
        }
        if (option->get_items_expected_max() == 0) {
            options.words.push_back("--" + name);
            continue;
        }
        for (const std::string& value : option->results()) {
            options.words.push_back(fmt::format("--{}={}", name, value));
        }
    }
}

void MakeFolder(const std::string& path)
{
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (!std::filesystem::is_directory(path)) {
        throw Failure(path, WriteReason(error ? error.value() : ENOTDIR), exitOutput);
    }
}

std::string FileOf(const std::string& folder, const std::string& name)
{
    return (std::filesystem::path(folder) / name).string();
}

void TellPlan(const char* command, const QueueSettings& settings, const std::string& journal,
              const std::vector<PrintJob>& jobs, bool json)
{
    const Journal records = Journal::Peek(journal);
    JsonWriter out(true);
    BeginOutput(out, command, statusPlanned);
    out.Add("jobs", settings.jobs);
    out.Add("memoryPerJob", settings.memory / static_cast<std::uint64_t>(settings.jobs));
    out.OpenArray("pictures");
    for (const PrintJob& job : jobs) {
        const bool isThere = !settings.force && IsThere(settings, records, job);
        if (!json) {
            fmt::print("{} -> {}{}\n", OneLine(job.photo), OneLine(job.output),
                       isThere ? " (up to date)" : "");
        }
        out.OpenObject();
        out.Add("file", job.photo);
        out.Add("output", job.output);
        out.Add("upToDate", isThere);
        out.Close();
    }
    out.Close();
    if (json) {
        EndOutput(out);
    }
}

QueueSettings SettingsOf(const BatchOptions& options, std::vector<std::string> words)
{
    // Of the words, as a batch that goes on has them from its plan.
    const std::string printer = ValueIn(words, "--printer=");
    std::string profilePath = ValueIn(words, "--profile=");
    if (profilePath.empty() && !printer.empty()) {
        profilePath = FindPreset(printer).profile;
    }
    const PrinterProfile profile = ProfileOf(profilePath);
    TryProfile(profile, options.print.render, profilePath);
    Digest digest;
    digest.Add(QVA_VERSION_STRING);
    for (const std::string& word : words) {
        // These do not change a byte of a print.
        if (!word.starts_with("--threads=") && !word.starts_with("--profile=") &&
            word != "--no-clobber") {
            digest.Add(word);
        }
    }
    digest.Add(profile.bytes.data(), profile.bytes.size());
    if (!printer.empty()) {
        digest.AddFile(FindPreset(printer).path);
    }
    QueueSettings settings;
    settings.memory = options.maxMemory > 0 ? options.maxMemory : MemoryLimit();
    const auto room = static_cast<int>(
        std::clamp<std::uint64_t>(settings.memory / (LeastMemory() / 4 * 5), 1, mostThreads));
    settings.jobs = std::min(options.jobs > 0 ? options.jobs : Cores(), room);
    settings.force = options.force;
    settings.digest = digest.Text();
    settings.words = std::move(words);
    if (ValueIn(settings.words, "--threads=").empty()) {
        settings.words.push_back(fmt::format("--threads={}", std::max(Cores() / settings.jobs, 1)));
    }
    return settings;
}

} // namespace qva
