// qva info
#include "base/errors.h"
#include "base/pipe_ends.h"
#include "command/command.h"
#include "command/json_output.h"
#include "command/report.h"
#include "command/shared_options.h"
#include "formats/format_table.h"
#include "render/render_settings.h"
#include "render/threads.h"

#include <fmt/format.h>

namespace qva {

namespace {

class InfoCommand : public Command {
public:
    void AddOptions(CLI::App& app) override;
    void Run() override;
    std::string Subject() const override
    {
        return photo_.path.empty() && !paths_.empty() ? paths_.front() : photo_.path;
    }
    bool WantsJson() const override { return json_ && paths_.size() == 1; }

private:
    void Show();
    void ShowAll();

    std::vector<std::string> paths_;
    PhotoOptions photo_;
    double threshold_ = defaultThreshold;
    bool json_ = false;
};

void InfoCommand::AddOptions(CLI::App& app)
{
    app.add_option("PHOTO", paths_, "Pictures: " + FormatNames() + "; - is standard input")
        ->required()
        ->type_name("");
    AddReadingOptions(app, photo_);
    AddNumber(app, "--threshold", "cd/m2, as for print (1.3)", 0.0, 100.0,
              [this](double value) { threshold_ = value; });
    AddJsonOption(app, json_);
    app.footer("Example:\n  qva info photo.exr --json");
}

void InfoCommand::Show()
{
    PipeEnds pipes;
    photo_.path = pipes.Input(photo_.path, MostPipedBytes(photo_.limits));
    Progress progress(ProgressStyle::Terminal);
    std::unique_ptr<ImageSource> source;
    const Examination found =
        Examine(photo_.path, photo_.source, photo_.light, photo_.limits, progress, source);
    progress.Clear();
    if (!json_) {
        fmt::print("{}", ReportText(found, threshold_));
        return;
    }
    JsonWriter json(true);
    BeginOutput(json, "info", statusDone);
    WriteReport(json, found, threshold_);
    EndOutput(json);
}

/// One that cannot be read keeps nobody from the others.
void InfoCommand::ShowAll()
{
    int failed = 0;
    int exitCode = exitDone;
    for (const std::string& path : paths_) {
        photo_.path = path;
        try {
            Show();
        } catch (const Error& error) {
            Say(fmt::format("qva: {}\n", OneLine(ForPeople(error.what()))));
            if (json_) {
                PrintFailure("info", error.ExitCode(), error.what());
            }
            exitCode = failed++ == 0 ? error.ExitCode() : exitCode;
        }
    }
    if (failed > 0) {
        throw Failure("info", fmt::format("{} of {} pictures failed", failed, paths_.size()),
                      exitCode);
    }
}

void InfoCommand::Run()
{
    SetThreads(0);
    if (paths_.size() > 1) {
        ShowAll();
        return;
    }
    photo_.path = paths_.front();
    Show();
}

} // namespace

std::unique_ptr<Command> MakeInfoCommand()
{
    return std::make_unique<InfoCommand>();
}

} // namespace qva
