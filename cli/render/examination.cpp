#include "render/examination.h"

#include "base/phase_times.h"
#include <algorithm>

namespace qva {

namespace {

bool HasHeadroom(const SourceDescription& description)
{
    return std::any_of(description.findings.begin(), description.findings.end(),
                       [](const Finding& finding) { return finding.label == headroomLabel; });
}

} // namespace

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
    Examination found = Examine(*source, options, light, progress, keeping);
    if (limits.headroom && !HasHeadroom(found.description)) {
        found.meaning.notes.emplace_back("has no gain map: --headroom changes nothing");
    }
    return found;
}

Examination Examine(ImageSource& source, const SourceOptions& options, const LightOptions& light,
                    Progress& progress, Keeping* keeping)
{
    Examination found;
    found.description = source.Describe();
    found.meaning = Interpret(found.description, options);
    const SceneDecoder decoder(found.meaning, found.description.path, source.Samples());
    const bool keeps = keeping != nullptr && keeping->isWanted(source.Size());
    found.statistics =
        Scan(source, decoder, found.counts, progress, keeps ? &keeping->samples : nullptr);
    found.light = PlanLight(light, options.top, found.meaning, found.statistics);
    found.rows = found.meaning;
    found.range = ChooseRange(found.meaning, found.statistics, options);
    return found;
}

} // namespace qva
