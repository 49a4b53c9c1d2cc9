#include "printing.h"

#include "picture/rendered_for.h"
#include "render/examination.h"
#include "render/profile_trial.h"
#include "render/renderer.h"

#include <memory>
#include <mutex>
#include <set>
#include <tuple>

namespace py = pybind11;

namespace qva::python {

namespace {

/// A trial takes as long as a small picture, and its answer follows from what is asked.
void TryOnce(const PrinterProfile& profile, const RenderSettings& settings, const std::string& name)
{
    using Question = std::tuple<std::uint64_t, bool, bool>;
    static std::mutex mutex;
    static std::set<Question> passed;
    const Question question = {DigestOf(profile.bytes), settings.saturation,
                               settings.blackPointCompensation};
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (passed.count(question) > 0) {
            return;
        }
    }
    TryProfile(profile, settings, name);
    const std::lock_guard<std::mutex> lock(mutex);
    passed.insert(question);
}

/// Codes that the library knows need no measuring where the top is given: nothing else is chosen by
/// their light.
Examination ExamineArray(ImageSource& source, const PhotoOptions& photo, Progress& progress)
{
    Examination found;
    found.description = source.Describe();
    found.meaning = Interpret(found.description, photo.source);
    if (!PassesCodes(found.meaning) || !photo.source.top) {
        return Examine(source, photo.source, photo.light, progress);
    }
    found.light = PlanLight(photo.light, photo.source.top, found.meaning, found.statistics);
    found.range = ChooseRange(found.meaning, found.statistics, photo.source);
    return found;
}

/// Renders where the codes go without a copy where the layout of both sides allows.
void RenderView(ArraySource& source, const ArrayView& pixels, const CallOptions& options,
                const PrinterProfile& profile, const ArrayView& result)
{
    Progress progress(ProgressStyle::None);
    const std::string& name = source.Describe().path;
    source.Open(name, options.photo.limits);
    const Examination found = ExamineArray(source, options.photo, progress);
    const PackedResult packed(result);
    const std::uint16_t* from = packed.Codes();
    if (found.range.passThrough && pixels.IsPackedCodes() && found.description.orientation == 1) {
        from = pixels.Codes();
    } else {
        source.Open(name, options.photo.limits);
        const SceneDecoder decoder(found.meaning, name);
        LoadCodes(source, decoder, LightSteps(found.light), found.range, progress, packed.Codes());
    }
    Render(from, packed.Codes(), result.size, found.range, profile, options.render, name);
    packed.Finish();
}

} // namespace

PrinterProfile ProfileFor(const CallOptions& options, const std::optional<std::string>& bytes)
{
    const std::string name = bytes ? "profile" : options.profile;
    PrinterProfile profile =
        bytes ? MakePrinterProfile({bytes->begin(), bytes->end()}, name) : ProfileOf(name);
    TryOnce(profile, options.render, name);
    return profile;
}

py::object Print(const py::object& pixels, const CallOptions& options,
                 const std::optional<std::string>& profile, const py::object& out)
{
    const bool isPicture = py::isinstance<Picture>(pixels);
    const ArrayView view =
        ViewOf(isPicture ? pixels.cast<const Picture&>().samples : pixels, "pixels");
    ArraySource source =
        isPicture ? pixels.cast<const Picture&>().Source() : ArraySource(view, DescriptionOf(view));
    const ImageSize size = UprightSize(source.Describe());
    const py::object result = ResultOf(out, size);
    const ArrayView place = ResultViewOf(result, size);
    CheckOverlap(view, place);
    if (view.data == place.data && source.Describe().orientation != 1) {
        throw py::value_error("out: a picture that is turned cannot be printed into itself");
    }
    {
        const py::gil_scoped_release unlocked;
        const ThreadCount threads(options.threads);
        RenderView(source, view, options, ProfileFor(options, profile), place);
    }
    return result;
}

} // namespace qva::python
