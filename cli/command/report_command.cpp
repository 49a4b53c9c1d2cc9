// qva report
#include "base/errors.h"
#include "base/output_file.h"
#include "base/pipe_ends.h"
#include "colour/luminance.h"
#include "colour/transfer_functions.h"
#include "command/command.h"
#include "command/json_output.h"
#include "command/print_options.h"
#include "command/proof_report.h"
#include "command/report.h"
#include "formats/writer_table.h"
#include "picture/reduced_size.h"
#include "proof/report_page.h"
#include "proof/view_pictures.h"
#include "render/profile_trial.h"
#include "render/side_by_side.h"
#include "render/threads.h"

#include <cmath>
#include <fmt/format.h>
#include <sstream>

namespace qva {

namespace {

// Enough for a telephone, and small in a mail.
constexpr std::int64_t longerSide = 640;

/// The light of a proof's pixel in sRGB, where the perfect diffuser is 1.
double LightOf(const float* signals)
{
    // IEC 61966-2-1: the luminance of linear R, G and B.
    return 0.2126 * SrgbToLinear(static_cast<double>(signals[0])) +
           0.7152 * SrgbToLinear(static_cast<double>(signals[1])) +
           0.0722 * SrgbToLinear(static_cast<double>(signals[2]));
}

/// Y of an L* (CIE 15), where the perfect diffuser is 1.
double LightOf(double lightness)
{
    return std::pow((lightness + 16.0) / 116.0, 3.0);
}

/// Lines of "  label        text" below a first line, as rows.
ReportRows RowsOf(const std::string& text)
{
    constexpr std::size_t labelEnd = 15;
    ReportRows rows;
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        if (line.size() <= labelEnd) {
            continue;
        }
        std::string label = line.substr(2, labelEnd - 2);
        label.erase(label.find_last_not_of(' ') + 1);
        rows.emplace_back(label, line.substr(labelEnd));
    }
    return rows;
}

LightCurve CurveOf(const Page& page, const std::vector<float>& light)
{
    LightCurve curve;
    const std::uint16_t* codes = page.codes.get();
    for (std::int64_t i = 0; i < page.size.width * page.size.height; ++i, codes += 3) {
        const float rgb[3] = {light[codes[0]], light[codes[1]], light[codes[2]]};
        curve.Add(static_cast<double>(LuminanceOf(rgb)));
    }
    return curve;
}

std::vector<float> SceneLight(const RenderRange& range)
{
    std::vector<float> light(65536);
    for (std::size_t code = 0; code < light.size(); ++code) {
        light[code] = static_cast<float>(CodeToLuminance(range, static_cast<std::uint32_t>(code)));
    }
    return light;
}

std::string TitleOf(const std::string& path)
{
    const std::string name = ForPeople(path);
    return OneLine(name.substr(name.find_last_of('/') + 1));
}

class ReportCommand : public Command {
public:
    void AddOptions(CLI::App& app) override;
    void Finish() override;
    void Run() override;
    std::string Subject() const override { return photo_.path; }
    bool WantsJson() const override { return json_; }

private:
    void Look(const Page& page, const RenderRange& range, ReportContent& content) const;
    void LookAtResult(const Page& page, ReportContent& content) const;
    void Complete(const Examination& found, const ProofSubject& subject, const ProofResult& result,
                  ReportContent& content) const;
    void Plan(const ProofSource& source, const PrinterProfile& profile) const;
    void Tell(const Examination& found, const ProofSubject& subject,
              const ProofResult& result) const;
    ProofResult Proof(ProofSource& source, const DeviceProfile& device, const ViewerSpace& viewer,
                      ReportContent& content, Progress& progress) const;

    PhotoOptions photo_;
    std::string profile_;
    RenderSettings render_;
    PrinterOption printer_;
    ProofSettings proof_;
    std::string output_;
    int threads_ = 0;
    bool noClobber_ = false;
    bool dryRun_ = false;
    bool json_ = false;
    bool quiet_ = false;
};

void ReportCommand::AddOptions(CLI::App& app)
{
    AddPhotoOptions(app, photo_);
    AddRenderOptions(app, profile_, render_, threads_);
    printer_.Add(app);
    app.add_option("-o,--output", output_, "The report: a name that ends in .html")
        ->required()
        ->type_name("FILE.html");
    AddNoClobberOption(app, noClobber_);
    AddDryRunOption(app, dryRun_);
    AddJsonOption(app, json_);
    app.add_flag("-q,--quiet", quiet_, "No progress");
    app.footer(
        "One file that needs nothing else: before and after, the proof, what the paper cannot\n"
        "give, the light, all that was found and chosen.\n"
        "\n"
        "Example:\n  qva report photo.exr -o report.html --profile printer.icc");
}

void ReportCommand::Finish()
{
    printer_.Apply(profile_, render_);
    printer_.ApplyInkLimit(proof_.inkLimit);
    if (!HasEnding(output_, ".html")) {
        throw Misuse(output_, "the name must end in .html");
    }
    proof_.intent = {render_.saturation, render_.blackPointCompensation};
}

void ReportCommand::Look(const Page& page, const RenderRange& range, ReportContent& content) const
{
    Panel panel = ReducePage(page, ClippedLight(range, render_.paperWhite),
                             ReducedSize(page.size, longerSide));
    content.before = {panel.size, std::move(panel.rgb)};
    content.scene = CurveOf(page, SceneLight(range));
}

void ReportCommand::LookAtResult(const Page& page, ReportContent& content) const
{
    std::vector<float> light = RenderedLight();
    Panel panel = ReducePage(page, light, ReducedSize(page.size, longerSide));
    content.after = {panel.size, std::move(panel.rgb)};
    for (float& value : light) {
        value *= static_cast<float>(render_.paperWhite);
    }
    content.result = CurveOf(page, light);
}

ProofResult ReportCommand::Proof(ProofSource& source, const DeviceProfile& device,
                                 const ViewerSpace& viewer, ReportContent& content,
                                 Progress& progress) const
{
    const ImageSize size = content.after.size;
    const auto pixels = static_cast<std::size_t>(size.width);
    for (ReportPicture* picture : {&content.proof, &content.gamutMap}) {
        *picture = {size,
                    std::vector<unsigned char>(pixels * 3 * static_cast<std::size_t>(size.height))};
    }
    unsigned char* proof = content.proof.rgb.data();
    unsigned char* map = content.gamutMap.rgb.data();
    const double white = LightOf(PaperOf(device).white[0]);
    const auto show = [&](const float* row) {
        ProofRow8(row, pixels, proof);
        GamutRow(row, pixels, map);
        for (std::size_t i = 0; i < pixels; ++i) {
            content.paper.Add(LightOf(row + i * view::count) / white * render_.paperWhite);
        }
        proof += pixels * 3;
        map += pixels * 3;
    };
    return MakeProof(source, device, viewer, proof_, size, show, progress);
}

void ReportCommand::Complete(const Examination& found, const ProofSubject& subject,
                             const ProofResult& result, ReportContent& content) const
{
    content.title = TitleOf(photo_.path);
    content.figures = result.figures;
    content.found = RowsOf(ReportText(found, render_.threshold));
    content.found.emplace_back("paper white", fmt::format("{} cd/m2", render_.paperWhite));
    content.proofed = RowsOf(ProofText(subject, result));
    content.remarks = Remarks(found, render_.threshold);
}

void ReportCommand::Plan(const ProofSource& source, const PrinterProfile& profile) const
{
    ResolveOutput(output_);
    const ImageSize size = source.Size();
    if (json_) {
        JsonWriter json(true);
        BeginOutput(json, "report", statusPlanned);
        json.Add("file", output_);
        json.Add("paper", profile.description);
        json.Add("width", size.width);
        json.Add("height", size.height);
        EndOutput(json);
        return;
    }
    fmt::print("{}: would tell of {}, {} x {} pixels, on \"{}\"\n", OneLine(output_),
               TitleOf(photo_.path), size.width, size.height, profile.description);
}

void ReportCommand::Tell(const Examination& found, const ProofSubject& subject,
                         const ProofResult& result) const
{
    if (!json_) {
        return;
    }
    JsonWriter json(true);
    BeginOutput(json, "report", statusDone);
    json.Add("file", output_);
    json.Add("paper", subject.profile.description);
    AddRemarks(json, Remarks(found, render_.threshold));
    json.OpenObject("picture");
    WriteReport(json, found, render_.threshold);
    json.Close();
    json.OpenObject("proof");
    WriteProof(json, subject, result);
    json.Close();
    EndOutput(json);
}

void ReportCommand::Run()
{
    PipeEnds pipes;
    photo_.path = pipes.Input(photo_.path, MostPipedBytes(photo_.limits));
    RefuseSameFile(output_, photo_.path, "the photograph");
    RefuseSameFile(output_, profile_, "the profile");
    if (noClobber_) {
        EnsureNew(output_);
    }
    SetThreads(threads_);
    const PrinterProfile profile = ProfileOf(profile_);
    TryProfile(profile, render_, profile_);
    const DeviceProfile device(profile, proof_.intent, profile_);
    const ViewerSpace viewer = ViewerSpace::Srgb();
    ProofSource source({photo_.path, photo_.source, photo_.light, photo_.limits});
    if (source.IsResult()) {
        throw Failure(photo_.path, "is a result: the report is made of the photograph");
    }
    if (dryRun_) {
        Plan(source, profile);
        return;
    }
    OutputFile output(output_);
    Progress progress(quiet_ ? ProgressStyle::None : ProgressStyle::Terminal);
    ReportContent content;
    source.Prepare(profile, render_, progress,
                   [&](const Page& page, const RenderRange& range) { Look(page, range, content); });
    LookAtResult(source.Rendered(), content);
    const ProofResult result = Proof(source, device, viewer, content, progress);
    const ProofSubject subject = {photo_.path, profile, device, viewer, proof_};
    Complete(*source.Found(), subject, result, content);
    output.Append(ForPeople(ReportHtml(content)));
    output.Commit();
    progress.Clear();
    Tell(*source.Found(), subject, result);
}

} // namespace

std::unique_ptr<Command> MakeReportCommand()
{
    return std::make_unique<ReportCommand>();
}

} // namespace qva
