#include "colour/gain_map_light.h"

#include "base/errors.h"
#include "colour/colour_interpretation.h"

#include <algorithm>
#include <fmt/format.h>

namespace qva {

namespace {

BaseLight LightOf(const SourceDescription& base)
{
    try {
        return BaseLight(base);
    } catch (const Failure&) {
        // The same failure will be that of the base picture, unless options set it aside.
        throw GainMapProblem("cannot be applied to colours that are not known");
    }
}

double HeadroomOf(const GainMapNumbers& numbers, const std::optional<double>& headroom)
{
    return std::min(headroom.value_or(FullHeadroom(numbers)), FullHeadroom(numbers));
}

} // namespace

GainMapLight::GainMapLight(const SourceDescription& base, const GainMapFile& map,
                           const std::optional<double>& headroom)
    : size_(base.size),
      base_(LightOf(base)),
      notes_(base_.Notes()),
      primaries_(base_.Primaries()),
      mapper_(map.numbers, map.size, map.channels, base.size, HeadroomOf(map.numbers, headroom))
{
    findings_ = {
        {"base", fmt::format("{}-bit integer, {}, {}", base.bits, base_.Name(),
                             NameOfPrimaries(base_.Primaries()))},
        {"gain map",
         fmt::format("{}, {} x {} pixels, {}", map.kind, map.size.width, map.size.height,
                     map.channels == 1 ? "one channel" : "three channels")},
        {headroomLabel, fmt::format("{:.3g} of {:.3g} stops above SDR white",
                                    HeadroomOf(map.numbers, headroom), FullHeadroom(map.numbers))}};
    ChooseColours(map);
}

void GainMapLight::ChooseColours(const GainMapFile& map)
{
    if (map.numbers.usesBaseColours) {
        return;
    }
    if (!map.alternate) {
        notes_.emplace_back("the gain map holds for colours that the file does not tell; those of "
                            "the base are taken");
    } else if (!SamePrimaries(*map.alternate, primaries_)) {
        matrix_ = Multiply(Invert(ToBt2020(*map.alternate)), ToBt2020(primaries_));
        primaries_ = *map.alternate;
    }
}

void GainMapLight::Describe(SourceDescription& description) const
{
    description.findings.insert(description.findings.end(), findings_.begin(), findings_.end());
    description.notes.insert(description.notes.end(), notes_.begin(), notes_.end());
    description.format += " with a gain map";
    description.isFloat = true;
    description.bits = 32;
    description.sceneLinear = true;
    description.tags = {};
    description.tags.chromaticities = primaries_;
    // The value 1.0 is the white of the rendition for ordinary displays: the light is known, and
    // not to be exposed anew.
    description.tags.whiteLuminance = defaultWhite;
}

void GainMapLight::Apply(const GainMapper::Rows& rows, const float* upper, const float* lower,
                         float* rgb) const
{
    const auto width = static_cast<std::size_t>(size_.width);
    base_.Convert(rgb, width);
    for (std::size_t x = 0; matrix_ && x < width; ++x) {
        float* pixel = rgb + x * 3;
        const Vector3 light = Multiply(*matrix_, Vector3{pixel[0], pixel[1], pixel[2]});
        std::transform(light.begin(), light.end(), pixel,
                       [](double value) { return static_cast<float>(value); });
    }
    mapper_.Apply(rows, upper, lower, rgb);
}

} // namespace qva
