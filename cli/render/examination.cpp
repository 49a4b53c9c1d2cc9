#include "render/examination.h"

#include "base/phase_times.h"

namespace qva {

Examination Examine(const std::string& path, const SourceOptions& options,
                    const LightOptions& light, const SizeLimits& limits, Progress& progress,
                    std::unique_ptr<ImageSource>& source, Keeping* keeping)
{
    const InPhase examining(Phase::Examining);
    {
        // Some formats are decoded as they are opened.
        const InPhase reading(Phase::Reading);
        source = OpenImage(path, limits);
    }
    Examination found;
    found.description = source->Describe();
    found.meaning = Interpret(found.description, options);
    const SceneDecoder decoder(found.meaning, path, source->Samples());
    const bool keeps = keeping != nullptr && keeping->isWanted(source->Size());
    found.statistics =
        Scan(*source, decoder, found.counts, progress, keeps ? &keeping->samples : nullptr);
    found.light = PlanLight(light, options.top, found.meaning, found.statistics);
    found.range = ChooseRange(found.meaning, found.statistics, options);
    return found;
}

} // namespace qva
