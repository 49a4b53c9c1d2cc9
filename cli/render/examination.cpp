#include "render/examination.h"

namespace qva {

Examination Examine(const std::string& path, const SourceOptions& options,
                    const LightOptions& light, const SizeLimits& limits, Progress& progress,
                    std::unique_ptr<ImageSource>& source)
{
    source = OpenImage(path, limits);
    Examination found;
    found.description = source->Describe();
    found.meaning = Interpret(found.description, options);
    const SceneDecoder decoder(found.meaning, path);
    found.statistics = Scan(*source, decoder, found.counts, progress);
    found.light = PlanLight(light, options.top, found.meaning, found.statistics);
    found.rows = found.meaning;
    found.range = ChooseRange(found.meaning, found.statistics, options);
    return found;
}

} // namespace qva
