// qva proof
#include "base/errors.h"
#include "base/output_file.h"
#include "command/command.h"
#include "command/json_output.h"
#include "command/option_checks.h"
#include "command/print_options.h"
#include "command/proof_report.h"
#include "formats/writer_table.h"
#include "proof/proof_files.h"
#include "render/profile_trial.h"
#include "render/threads.h"

#include <array>
#include <fmt/format.h>
#include <optional>

namespace qva {

namespace {

constexpr const char* proofExamples =
    "A result of qva print, page or join is shown as it is; another picture is rendered first.\n"
    "Paper has its own white and the ink its own black, unless --no-paper is given. A result "
    "states\n"
    "its profile and intent: it is shown by these, and on another paper only with --any-paper.\n"
    "\n"
    "Examples:\n"
    "  qva proof print.tif --profile printer.icc -o proof.png --size 1600\n"
    "  qva proof photo.exr --profile press.icc --gamut-map gamut.png --ink-map ink.png\n"
    "      where the paper cannot follow, in steps of 1, 2, 3, 5 and 10 delta E 2000\n"
    "  qva proof print.tif --profile press.icc --json --ink-limit 280\n"
    "      figures alone, for a program";

class ProofCommand : public Command {
public:
    void AddOptions(CLI::App& app) override;
    void Finish() override;
    void Run() override;
    std::string Subject() const override { return photo_.path; }
    bool WantsJson() const override { return json_; }

private:
    void AddViewOptions(CLI::App& app);
    void CheckOutputs() const;
    ViewerSpace Viewer() const;
    void Plan(const ProofSource& source, const ProofSubject& subject) const;
    void Tell(const ProofSubject& subject, const ProofResult& result) const;
    DeviceIntent IntentOf(const RenderedFor& paper, const PrinterProfile& profile) const;

    PhotoOptions photo_;
    std::string profile_;
    RenderSettings render_;
    PrinterOption printer_;
    ProofSettings proof_;
    ProofNames outputs_;
    std::string space_ = "srgb";
    std::string monitor_;
    int bits_ = 8;
    int threads_ = 0;
    bool anyPaper_ = false;
    bool noClobber_ = false;
    bool dryRun_ = false;
    bool json_ = false;
    bool quiet_ = false;
};

void ProofCommand::AddViewOptions(CLI::App& app)
{
    const char* group = "Proof";
    const auto file = [&](const char* name, std::string& path, const char* help) {
        return app.add_option(name, path, help)->type_name("FILE.png")->group(group);
    };
    file("-o,--output", outputs_.proof, "The page as it will look");
    file("--gamut-map", outputs_.gamutMap, "Where the paper cannot give what was asked");
    file("--ink-map", outputs_.inkMap, "Where how much ink lies, for CMYK and more inks");
    CLI::Option* space = app.add_option("--space", space_, "Of the display: srgb or p3 (srgb)")
                             ->check(OneOf({"srgb", "p3"}))
                             ->type_name("NAME")
                             ->group(group);
    app.add_option("--monitor", monitor_, "ICC profile of the display")
        ->check(NotEmpty())
        ->excludes(space)
        ->type_name("FILE.icc")
        ->group(group);
    app.add_flag_callback(
           "--no-paper", [this] { proof_.white = PaperWhite::Adapted; },
           "Show paper as the display's white")
        ->group(group);
    app.add_flag("--any-paper", anyPaper_,
                 "Show a result on a paper that it was not rendered for, by the intent given here")
        ->group(group);
    AddNumber(app, "--size", "Pixels of the longer side (as large as the page)", 16.0, 65500.0,
              [this](double side) { proof_.longerSide = static_cast<std::int64_t>(side); })
        ->group(group);
    app.add_option_function<std::string>(
           "--bits", [this](const std::string& text) { bits_ = std::stoi(text); },
           "Of a sample of the proof: 8 or 16 (8)")
        ->check(OneOf({"8", "16"}))
        ->type_name("NUMBER")
        ->group(group);
    AddNumber(app, "--ink-limit", "Percent of all inks together that the paper takes (300)", 0.0,
              1500.0, [this](double limit) { proof_.inkLimit = limit; })
        ->group(group);
}

void ProofCommand::AddOptions(CLI::App& app)
{
    AddPhotoOptions(app, photo_);
    AddRenderOptions(app, profile_, render_, threads_);
    printer_.Add(app);
    AddViewOptions(app);
    AddNoClobberOption(app, noClobber_);
    AddDryRunOption(app, dryRun_);
    AddJsonOption(app, json_);
    app.add_flag("-q,--quiet", quiet_, "No progress and no remarks");
    app.footer(proofExamples);
}

void ProofCommand::Finish()
{
    printer_.Apply(profile_, render_);
    printer_.ApplyInkLimit(proof_.inkLimit);
    for (const std::string* path : outputs_.All()) {
        if (!path->empty() && !HasEnding(*path, ".png")) {
            throw Misuse(*path, "the name must end in .png");
        }
    }
}

void ProofCommand::CheckOutputs() const
{
    const std::array<const std::string*, 3> outputs = outputs_.All();
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (outputs[i]->empty()) {
            continue;
        }
        RefuseSameFile(*outputs[i], photo_.path, "the photograph");
        RefuseSameFile(*outputs[i], profile_, "the profile");
        RefuseSameFile(*outputs[i], monitor_, "the monitor's profile");
        for (std::size_t k = 0; k < i; ++k) {
            RefuseSameFile(*outputs[i], *outputs[k], "another output");
        }
        if (noClobber_) {
            EnsureNew(*outputs[i]);
        }
    }
}

DeviceIntent ProofCommand::IntentOf(const RenderedFor& paper, const PrinterProfile& profile) const
{
    if (paper.profileDigest != DigestOf(profile.bytes)) {
        throw Failure(photo_.path,
                      fmt::format("was rendered for another profile than {}; give that one with "
                                  "--profile, or --any-paper to see it on this",
                                  profile_.empty() ? "the built-in one" : profile_),
                      exitProfile);
    }
    return paper.intent;
}

ViewerSpace ProofCommand::Viewer() const
{
    if (!monitor_.empty()) {
        return ViewerSpace::Monitor(monitor_);
    }
    return space_ == "p3" ? ViewerSpace::DisplayP3() : ViewerSpace::Srgb();
}

void ProofCommand::Plan(const ProofSource& source, const ProofSubject& subject) const
{
    std::vector<std::string> outputs;
    for (const std::string* path : outputs_.All()) {
        if (!path->empty()) {
            ResolveOutput(*path);
            outputs.push_back(*path);
        }
    }
    const ImageSize view = ViewSize(source.Size(), proof_);
    if (json_) {
        JsonWriter json(true);
        BeginOutput(json, "proof", statusPlanned);
        json.Add("file", subject.path);
        json.Add("profile", subject.profile.description);
        json.Add("deviceSpace", subject.device.Space());
        json.Add("width", view.width);
        json.Add("height", view.height);
        json.Add("rendersFirst", !source.IsResult());
        json.OpenArray("outputs");
        for (const std::string& path : outputs) {
            json.Add({}, path);
        }
        json.Close();
        EndOutput(json);
        return;
    }
    fmt::print("{}: {}on \"{}\", {} x {} pixels\n", OneLine(ForPeople(photo_.path)),
               source.IsResult() ? "" : "would be rendered, then shown ",
               subject.profile.description, view.width, view.height);
    for (const std::string& path : outputs) {
        fmt::print("  {:<13}{}\n", "would write", OneLine(path));
    }
}

void ProofCommand::Tell(const ProofSubject& subject, const ProofResult& result) const
{
    if (!json_) {
        fmt::print("{}", ForPeople(ProofText(subject, result)));
        return;
    }
    JsonWriter json(true);
    BeginOutput(json, "proof", statusDone);
    WriteProof(json, subject, result);
    EndOutput(json);
}

void ProofCommand::Run()
{
    PipeEnds pipes;
    photo_.path = pipes.Input(photo_.path, MostPipedBytes(photo_.limits));
    CheckOutputs();
    SetThreads(threads_);
    const PrinterProfile profile = ProfileOf(profile_);
    ProofSource source({photo_.path, photo_.source, photo_.light, photo_.limits});
    proof_.intent = {render_.saturation, render_.blackPointCompensation};
    const std::optional<RenderedFor> paper = PaperOf(source.Describe());
    if (source.IsResult() && paper && !anyPaper_) {
        proof_.intent = IntentOf(*paper, profile);
    }
    const DeviceProfile device(profile, proof_.intent, profile_);
    TryProfile(profile, render_, profile_);
    if (!device.IsInk() && !outputs_.inkMap.empty()) {
        throw Misuse("--ink-map",
                     fmt::format("the profile is of {} colours, not of inks", device.Space()));
    }
    const ViewerSpace viewer = Viewer();
    const ProofSubject subject = {photo_.path, profile, device, viewer, proof_};
    if (dryRun_) {
        Plan(source, subject);
        return;
    }
    ProofFiles files(outputs_);
    Progress progress(quiet_ ? ProgressStyle::None : ProgressStyle::Terminal);
    source.Prepare(profile, render_, progress);
    const ImageSize view = ViewSize(source.Size(), proof_);
    files.Begin({view, bits_, viewer.Profile(), proof_.inkLimit});
    const ProofResult result = MakeProof(
        source, device, viewer, proof_, view, [&files](const float* row) { files.Write(row); },
        progress);
    files.Commit();
    progress.Clear();
    Tell(subject, result);
}

} // namespace

std::unique_ptr<Command> MakeProofCommand()
{
    return std::make_unique<ProofCommand>();
}

} // namespace qva
