#include "colour/base_light.h"

#include "colour/matrix_profile.h"
#include "colour/scene_decoder.h"

#include <utility>

namespace qva {

BaseLight::BaseLight(const SourceDescription& base)
    : meaning_(Interpret(base, {})), primaries_(meaning_.primaries)
{
    const auto codes = static_cast<std::size_t>(meaning_.largestCode) + 1;
    if (meaning_.transfer == Transfer::Profile) {
        if (std::optional<MatrixProfile> parts = TakeApart(meaning_.profile, codes)) {
            primaries_ = parts->primaries;
            curves_ = std::move(parts->curves);
            return;
        }
    }
    if (meaning_.transfer == Transfer::Profile || meaning_.transfer == Transfer::Hlg) {
        decoder_ = std::make_unique<SceneDecoder>(meaning_, base.path);
        primaries_ = bt2020;
        return;
    }
    BuildCurves();
}

BaseLight::~BaseLight() = default;

void BaseLight::BuildCurves()
{
    const auto codes = static_cast<std::size_t>(meaning_.largestCode) + 1;
    for (std::vector<float>& curve : curves_) {
        for (std::size_t code = 0; code < codes; ++code) {
            const double signal = (static_cast<double>(code) - meaning_.codeBlack) /
                                  (meaning_.codeWhite - meaning_.codeBlack);
            curve.push_back(static_cast<float>(SignalToLuminance(meaning_, signal) / defaultWhite));
        }
    }
}

void BaseLight::Convert(float* rgb, std::size_t pixels) const
{
    if (decoder_) {
        SampleCounts counts;
        decoder_->Decode(rgb, pixels, counts);
        for (std::size_t i = 0; i < pixels * 3; ++i) {
            rgb[i] /= static_cast<float>(defaultWhite);
        }
        return;
    }
    for (std::size_t i = 0; i < pixels * 3; i += 3) {
        for (std::size_t k = 0; k < 3; ++k) {
            rgb[i + k] = curves_[k][static_cast<std::size_t>(rgb[i + k])];
        }
    }
}

} // namespace qva
