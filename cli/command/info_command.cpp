// qva info
#include "command/command.h"
#include "command/report.h"
#include "command/shared_options.h"
#include "render/render_settings.h"
#include "render/threads.h"

#include <fmt/format.h>

namespace qva {

namespace {

class InfoCommand : public Command {
public:
    void AddOptions(CLI::App& app) override;
    void Run() override;
    std::string Subject() const override { return photo_.path; }

private:
    PhotoOptions photo_;
    double threshold_ = defaultThreshold;
    bool json_ = false;
};

void InfoCommand::AddOptions(CLI::App& app)
{
    AddPhotoOptions(app, photo_);
    AddNumber(app, "--threshold", "cd/m2, as for print (1.3)", 0.0, 100.0,
              [this](double value) { threshold_ = value; });
    app.add_flag("--json", json_, "Write JSON");
    app.footer("Example:\n  qva info photo.exr --json");
}

void InfoCommand::Run()
{
    SetThreads(0);
    Progress progress(ProgressStyle::Terminal);
    std::unique_ptr<ImageSource> source;
    const Examination found =
        Examine(photo_.path, photo_.source, photo_.light, photo_.limits, progress, source);
    progress.Clear();
    fmt::print("{}", json_ ? ReportJson(found, threshold_) : ReportText(found, threshold_));
}

} // namespace

std::unique_ptr<Command> MakeInfoCommand()
{
    return std::make_unique<InfoCommand>();
}

} // namespace qva
