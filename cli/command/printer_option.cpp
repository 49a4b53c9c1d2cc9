#include "command/printer_option.h"

#include "command/option_checks.h"
#include "command/print_options.h"
#include "command/printer_presets.h"

namespace qva {

void PrinterOption::Add(CLI::App& app)
{
    app_ = &app;
    app.add_option("--printer", name_,
                   "A printer of qva printers: its settings hold where an option here is not given")
        ->check(NotEmpty())
        ->type_name("NAME")
        ->group("Rendering");
}

bool PrinterOption::IsGiven(const char* option) const
{
    const CLI::Option* found = app_->get_option_no_throw(option);
    return found != nullptr && found->count() > 0;
}

void PrinterOption::Apply(std::string& profile, RenderSettings& render) const
{
    if (name_.empty()) {
        return;
    }
    const PrinterPreset preset = FindPreset(name_);
    if (!IsGiven("--profile")) {
        profile = preset.profile;
    }
    if (!IsGiven("--intent") && preset.intent) {
        render.saturation = *preset.intent == "saturation";
    }
    if (!IsGiven("--no-black-point-compensation")) {
        render.blackPointCompensation = preset.blackPointCompensation.value_or(true);
    }
    if (!IsGiven("--paper-white") && preset.paperWhite) {
        render.paperWhite = *preset.paperWhite;
    }
}

void PrinterOption::Apply(PrintOptions& options) const
{
    if (name_.empty()) {
        return;
    }
    Apply(options.profile, options.render);
    const PrinterPreset preset = FindPreset(name_);
    if (!IsGiven("--dpi") && preset.dpi) {
        options.write.dpi = *preset.dpi;
    }
    if (!IsGiven("--size") && preset.size) {
        options.size.page = ParsePageSize(*preset.size);
    }
    if (!IsGiven("--bleed") && !IsGiven("--fit") && preset.bleed) {
        options.size.bleed = ParseLength(*preset.bleed);
    }
    if (!IsGiven("--fit") && preset.fit) {
        options.size.fit = *preset.fit == "cover" ? Fit::Cover : Fit::Contain;
    }
}

void PrinterOption::ApplyInkLimit(double& percent) const
{
    if (!name_.empty() && !IsGiven("--ink-limit")) {
        percent = FindPreset(name_).inkLimit.value_or(percent);
    }
}

} // namespace qva
