// qva join
#include "base/errors.h"
#include "command/command.h"
#include "command/json_output.h"
#include "command/option_checks.h"
#include "command/print_options.h"
#include "command/remarks.h"
#include "command/shared_options.h"
#include "formats/writer_table.h"
#include "page/page_assembly.h"
#include "page/page_job.h"
#include "render/threads.h"

#include <algorithm>
#include <fmt/format.h>

namespace qva {

namespace {

struct ShareFile {
    std::string path;
    StripReader reader;
    ShareRecord record;
};

ShareFile OpenShare(const std::string& path)
{
    StripReader reader(path);
    ShareRecord record = ParseShare(reader.Page().description, path);
    const BandPlan& plan = record.plan;
    const LineRun lines = plan.LinesOf(plan.BandsOfShare(record.share.number, record.share.count));
    const StripLayout& layout = reader.Page().layout;
    if (layout.lines != lines.count || layout.lineLength != plan.LineLength() ||
        layout.stripLines != std::min(plan.stripLines, lines.count))
    {
        throw Failure(path, "is damaged: it has not the lines that it states");
    }
    return {path, std::move(reader), std::move(record)};
}

/// Whether the strips are those that were written.
void CheckStrips(ShareFile& file, Progress& progress)
{
    const std::int64_t strips = file.reader.Page().layout.Strips();
    std::uint32_t checksum = 0;
    for (std::int64_t strip = 0; strip < strips; ++strip) {
        checksum = Checksum(checksum, file.reader.Encoded(strip));
        progress.Show("checking", static_cast<double>(strip + 1) / static_cast<double>(strips));
    }
    if (checksum != file.record.checksum) {
        throw Failure(file.path, "is damaged: its strips are not those that were written");
    }
}

/// In order and complete, each share once.
void CheckShares(const std::vector<ShareFile>& files)
{
    const ShareFile& first = files.front();
    for (const ShareFile& file : files) {
        if (file.record.job != first.record.job) {
            throw Failure(file.path, fmt::format("does not belong to {}: {}", first.path,
                                                 DifferenceOf(file.record.job, first.record.job)));
        }
        if (file.record.share.count != first.record.share.count) {
            throw Failure(file.path, fmt::format("does not belong to {}: it is one of {} shares, "
                                                 "not of {}",
                                                 first.path, file.record.share.count,
                                                 first.record.share.count));
        }
    }
    std::int64_t expected = 1;
    for (const ShareFile& file : files) {
        const std::int64_t number = file.record.share.number;
        if (number < expected) {
            throw Failure(file.path, fmt::format("share {} of {} is there twice", number,
                                                 first.record.share.count));
        }
        if (number > expected) {
            break;
        }
        ++expected;
    }
    if (expected <= first.record.share.count) {
        throw Failure(first.path,
                      fmt::format("share {} of {} is missing", expected, first.record.share.count));
    }
}

class JoinCommand : public Command {
public:
    void AddOptions(CLI::App& app) override;
    void Finish() override
    {
        OutputFormatOf(options_.output);
        CheckDevice(device_, options_.output, Compression::Deflate);
    }
    void Run() override;
    std::string Subject() const override { return options_.output; }
    bool WantsJson() const override { return options_.json; }

private:
    void Tell(ImageSize size, std::size_t shares) const;
    std::shared_ptr<const DeviceOutput> DeviceOfShares(
        const std::optional<RenderedFor>& paper) const;

    struct {
        std::vector<std::string> shares;
        std::string output;
        int threads = 0;
        ProgressStyle progress = ProgressStyle::Terminal;
        bool noClobber = false;
        bool dryRun = false;
        bool json = false;
    } options_;
    DeviceOptions device_;
    std::string profile_;
};

void JoinCommand::AddOptions(CLI::App& app)
{
    app.add_option("SHARE", options_.shares, "All shares, in any order")
        ->required()
        ->check(NotEmpty())
        ->type_name("");
    app.add_option("-o,--output", options_.output, "The result: " + OutputEndings())
        ->required()
        ->type_name("FILE");
    AddDeviceOptions(app, device_);
    app.add_option("--profile", profile_,
                   "ICC profile that the shares were rendered for, with --to-device")
        ->check(NotEmpty())
        ->type_name("FILE");
    AddNoClobberOption(app, options_.noClobber);
    AddThreadsOption(app, options_.threads);
    AddDryRunOption(app, options_.dryRun);
    AddJsonOption(app, options_.json);
    AddProgressOption(app, options_.progress);
    app.footer("Example:\n  qva join share1.tif share2.tif -o print.tif");
}

std::shared_ptr<const DeviceOutput> JoinCommand::DeviceOfShares(
    const std::optional<RenderedFor>& paper) const
{
    const PrinterProfile profile = ProfileOf(profile_);
    if (!paper || paper->profileDigest != DigestOf(profile.bytes)) {
        throw Failure(options_.shares.front(),
                      fmt::format("was rendered for another profile than {}",
                                  profile_.empty() ? "the built-in one" : profile_),
                      exitProfile);
    }
    return DeviceOf(device_, profile, paper->intent, profile_);
}

void JoinCommand::Run()
{
    for (const std::string& path : options_.shares) {
        if (AreSameFile(options_.output, path)) {
            throw Misuse(options_.output, "is a share by another name, or the same");
        }
    }
    if (options_.noClobber) {
        EnsureNew(options_.output);
    }
    SetThreads(options_.threads);
    TellLeftovers({options_.output}, options_.progress == ProgressStyle::None);
    ResolveOutput(options_.output);
    std::optional<OutputFile> output;
    if (!options_.dryRun) {
        output.emplace(options_.output);
    }
    std::vector<ShareFile> files;
    for (const std::string& path : options_.shares) {
        files.push_back(OpenShare(path));
    }
    std::stable_sort(files.begin(), files.end(), [](const ShareFile& a, const ShareFile& b) {
        return a.record.share.number < b.record.share.number;
    });
    CheckShares(files);
    Progress progress(options_.progress);
    for (ShareFile& file : files) {
        CheckStrips(file, progress);
    }
    const BandPlan plan = files.front().record.plan;
    WriteSettings settings = files.front().reader.Page().settings;
    settings.metadata = files.front().record.metadata;
    if (device_.isWanted) {
        settings.device = DeviceOfShares(settings.renderedFor);
        EnsureTakes(options_.output, *settings.device);
    }
    std::vector<StripReader> readers;
    for (ShareFile& file : files) {
        readers.push_back(std::move(file.reader));
    }
    if (output) {
        Assemble(readers, plan, settings, *output, progress);
        output->Commit();
    }
    progress.Clear();
    Tell(plan.page, files.size());
}

void JoinCommand::Tell(ImageSize size, std::size_t shares) const
{
    if (options_.json) {
        JsonWriter json(true);
        BeginOutput(json, "join", options_.dryRun ? statusPlanned : statusDone);
        json.Add("file", options_.output);
        json.Add("shares", shares);
        json.Add("width", size.width);
        json.Add("height", size.height);
        EndOutput(json);
    } else if (options_.dryRun) {
        fmt::print("{}: {} x {} pixels, joined from {} shares, would be written\n",
                   OneLine(options_.output), size.width, size.height, shares);
    }
}

} // namespace

std::unique_ptr<Command> MakeJoinCommand()
{
    return std::make_unique<JoinCommand>();
}

} // namespace qva
