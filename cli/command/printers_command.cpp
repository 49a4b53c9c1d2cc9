// qva printers
#include "base/errors.h"
#include "command/command.h"
#include "command/json_output.h"
#include "command/option_checks.h"
#include "command/printer_presets.h"
#include "command/shared_options.h"
#include "proof/printer_check.h"
#include "render/threads.h"

#include <cmath>
#include <fmt/format.h>
#include <optional>

namespace qva {

namespace {

constexpr const char* printersHelp =
    "A preset is a file NAME.json in the folder printers/ of the user's qva folder, such as\n"
    "  {\n"
    "    \"description\": \"Fine-art matte, office\",\n"
    "    \"profile\": \"matte.icc\",\n"
    "    \"intent\": \"relative\",\n"
    "    \"paperWhite\": 200,\n"
    "    \"size\": \"30x20cm\",\n"
    "    \"dpi\": 360\n"
    "  }\n"
    "Only the profile is needed: a file beside the preset, or where systems keep profiles. It may\n"
    "also have blackPointCompensation, inkLimit, bleed and fit. --printer NAME of print, preview,\n"
    "page, proof and report takes it.\n"
    "\n"
    "Examples:\n"
    "  qva printers                       which there are\n"
    "  qva printers --check matte         what one will do to pictures\n"
    "  qva printers --check press.icc     the same of a profile";

void WriteLab(JsonWriter& json, const char* name, const Lab& lab)
{
    json.OpenArray(name);
    for (const double value : lab) {
        json.Add({}, std::round(value * 100.0) / 100.0);
    }
    json.Close();
}

bool IsProfile(const std::string& name)
{
    return name.ends_with(".icc") || name.ends_with(".icm") || name.find('/') != std::string::npos;
}

/// A profile alone is a preset that says nothing else.
PrinterPreset PresetOrProfile(const std::string& name)
{
    if (!IsProfile(name) || name.ends_with(".json")) {
        return FindPreset(name);
    }
    PrinterPreset preset;
    preset.profile = name;
    return preset;
}

class PrintersCommand : public Command {
public:
    void AddOptions(CLI::App& app) override;
    void Run() override;
    std::string Subject() const override { return PresetFolder(); }

private:
    void Tell(const std::string& name) const;
    void TellPreset(const std::string& name, const PrinterPreset& preset,
                    const PrinterProfile& profile, JsonWriter& json) const;
    void TellMeasures(const PrinterMeasures& measures, JsonWriter& json) const;

    std::vector<std::string> names_;
    int threads_ = 0;
    bool checks_ = false;
    bool json_ = false;
};

void PrintersCommand::AddOptions(CLI::App& app)
{
    app.add_option("NAME", names_, "Printers, presets or profiles (all printers of the folder)")
        ->check(NotEmpty())
        ->type_name("");
    app.add_flag("--check", checks_, "Measure their profiles and say what they do to pictures");
    AddJsonOption(app, json_);
    AddThreadsOption(app, threads_);
    app.footer(printersHelp);
}

void PrintersCommand::TellPreset(const std::string& name, const PrinterPreset& preset,
                                 const PrinterProfile& profile, JsonWriter& json) const
{
    const auto line = [this](const char* label, const std::string& text) {
        if (!json_ && !text.empty()) {
            fmt::print("  {:<13}{}\n", label, OneLine(text));
        }
    };
    if (!json_) {
        fmt::print("{}\n", OneLine(name));
    }
    json.Add("name", name);
    json.Add("profile", preset.profile);
    json.Add("profileDescription", profile.description);
    line("is", preset.description);
    line("paper", fmt::format("{} ({})", profile.description, preset.profile));
    const auto setting = [&](const char* label, const auto& value, const char* unit) {
        if (value) {
            json.Add(label, *value);
            line(label, fmt::format("{}{}", *value, unit));
        }
    };
    setting("intent", preset.intent, "");
    setting("blackPointCompensation", preset.blackPointCompensation, "");
    setting("paperWhite", preset.paperWhite, " cd/m2");
    setting("inkLimit", preset.inkLimit, " %");
    setting("size", preset.size, "");
    setting("bleed", preset.bleed, "");
    setting("fit", preset.fit, "");
    setting("dpi", preset.dpi, "");
}

void PrintersCommand::TellMeasures(const PrinterMeasures& measures, JsonWriter& json) const
{
    const auto rounded = [](double value) { return std::round(value * 100.0) / 100.0; };
    json.OpenObject("measures");
    WriteLab(json, "whiteLab", measures.white);
    WriteLab(json, "blackLab", measures.black);
    json.Add("contrast", rounded(measures.contrast));
    json.Add("gamutVolume", std::round(measures.gamutVolume));
    json.Add("roundTripMedian", rounded(measures.roundTripMedian));
    json.Add("roundTrip99", rounded(measures.roundTripMost));
    json.Add("mostInk", rounded(measures.mostInk));
    json.Close();
    json.OpenArray("words");
    for (const std::string& words : WordsFor(measures)) {
        json.Add({}, words);
    }
    json.Close();
    if (json_) {
        return;
    }
    const auto lab = [](const Lab& colour) {
        return fmt::format("L* {:.1f} a* {:.1f} b* {:.1f}", colour[0], colour[1], colour[2]);
    };
    fmt::print("  {:<13}{}\n  {:<13}{}, {:.0f} : 1\n", "white", lab(measures.white), "black",
               lab(measures.black), measures.contrast);
    fmt::print("  {:<13}{:.0f} thousand cubic units of CIELAB\n", "gamut",
               measures.gamutVolume / 1000.0);
    fmt::print("  {:<13}delta E 2000 {:.2f} at the median, {:.2f} at 99 %\n", "round trip",
               measures.roundTripMedian, measures.roundTripMost);
    if (measures.mostInk > 0.0) {
        fmt::print("  {:<13}at most {:.0f} %\n", "ink", measures.mostInk);
    }
    for (const std::string& words : WordsFor(measures)) {
        fmt::print("  {:<13}{}\n", "pictures", words);
    }
}

void PrintersCommand::Tell(const std::string& name) const
{
    const PrinterPreset preset = PresetOrProfile(name);
    const PrinterProfile profile = ProfileOf(preset.profile);
    const std::optional<PrinterMeasures> measures =
        checks_ ? std::optional(MeasurePrinter(profile, preset.profile)) : std::nullopt;
    JsonWriter json(true);
    BeginOutput(json, "printers", statusDone);
    TellPreset(name, preset, profile, json);
    if (measures) {
        TellMeasures(*measures, json);
    }
    if (json_) {
        EndOutput(json);
    }
}

void PrintersCommand::Run()
{
    SetThreads(threads_);
    const std::vector<std::string> names = names_.empty() ? PresetNames(PresetFolder()) : names_;
    if (names.empty()) {
        throw Failure(PresetFolder(), "there are no printers yet; qva help printers tells what one "
                                      "looks like");
    }
    std::optional<Failure> first;
    for (const std::string& name : names) {
        try {
            Tell(name);
        } catch (const Failure& failure) {
            if (first) {
                Say(fmt::format("qva: {}\n", OneLine(failure.what())));
            } else {
                first = failure;
            }
        }
    }
    if (first) {
        throw Failure(*first);
    }
}

} // namespace

std::unique_ptr<Command> MakePrintersCommand()
{
    return std::make_unique<PrintersCommand>();
}

} // namespace qva
