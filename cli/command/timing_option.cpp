#include "command/timing_option.h"

#include "base/errors.h"
#include "base/phase_times.h"

#include <fmt/format.h>
#include <string>

namespace qva {

namespace {

std::string Line(const char* name, const PhaseTime& time)
{
    return fmt::format("  {:<11}{:>9.3f}{:>13.3f}\n", name, time.wall, time.processor);
}

} // namespace

void AddTimingOption(CLI::App& app)
{
    app.add_flag_callback("--timing", StartPhaseTimes,
                          "Tell where the time went: reading, examining, rendering, writing")
        ->group("Output");
}

void TellTiming()
{
    const std::optional<PhaseTimes> times = TimesByPhase();
    if (!times) {
        return;
    }
    std::string text = "  seconds         wall    processor\n";
    PhaseTime whole;
    for (std::size_t i = 0; i < phaseCount; ++i) {
        text += Line(NameOf(static_cast<Phase>(i)), (*times)[i]);
        whole.wall += (*times)[i].wall;
        whole.processor += (*times)[i].processor;
    }
    Say(text + Line("all", whole));
}

void WriteTiming(JsonWriter& json)
{
    const std::optional<PhaseTimes> times = TimesByPhase();
    if (!times) {
        return;
    }
    json.OpenObject("timing");
    for (std::size_t i = 0; i < phaseCount; ++i) {
        json.OpenObject(NameOf(static_cast<Phase>(i)));
        json.Add("wall", (*times)[i].wall);
        json.Add("processor", (*times)[i].processor);
        json.Close();
    }
    json.Close();
}

} // namespace qva
