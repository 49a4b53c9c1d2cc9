#include "command/light_options.h"

#include "command/option_checks.h"

#include <string>

namespace qva {

namespace {

constexpr double mostStops = 30.0;

CLI::Validator Exposure()
{
    const auto check = [](std::string& text) -> std::string {
        if (text == "auto" || text == "none") {
            return {};
        }
        std::string complaint = Number(-mostStops, mostStops)(text);
        if (!complaint.empty()) {
            complaint += "; auto and none are names for it";
        }
        return complaint;
    };
    return CLI::Validator(check, "");
}

void TakeExposure(const std::string& text, LightOptions& light)
{
    light.choosesExposure = text == "auto";
    light.exposure.reset();
    if (text != "auto" && text != "none") {
        light.exposure = std::stod(text);
    }
}

} // namespace

void AddLightOptions(CLI::App& app, LightOptions& light)
{
    const char* group = "What is done to its light first";
    app.add_option_function<std::string>(
           "--exposure", [&light](const std::string& text) { TakeExposure(text, light); },
           "Stops to expose by, auto or none; auto moves very dark and very bright pictures, and "
           "only where nothing says what light their values are (auto)")
        ->check(Exposure())
        ->type_name("NUMBER|NAME")
        ->take_last()
        ->group(group);
    const struct {
        const char* name;
        const char* help;
        bool LightOptions::*step;
    } flags[] = {
        {"--no-repair", "Leave the undershoot beside bright light black", &LightOptions::repairs},
        {"--no-colour-fit", "Cut colours outside BT.2020 in each channel",
         &LightOptions::fitsColour},
        {"--no-rim-mix", "Leave light above 30000 cd/m2 its colour", &LightOptions::mixesRims},
        {"--no-shoulder", "Cut light above the top of the range instead of bending it",
         &LightOptions::bendsHighlights}};
    for (const auto& flag : flags) {
        bool LightOptions::*step = flag.step;
        app.add_flag_callback(
               flag.name, [&light, step] { light.*step = false; }, flag.help)
            ->group(group);
    }
}

} // namespace qva
