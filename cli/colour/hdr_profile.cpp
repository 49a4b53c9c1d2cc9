#include "colour/hdr_profile.h"

#include "colour/lcms_handles.h"
#include "colour/transfer_functions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace qva {

namespace {

struct KnownCurve {
    int transfer;
    double (*lightOf)(double signal);
    double (*scale)(double light); ///< of light 0 ... 1, on which errors look alike
};

const KnownCurve knownCurves[] = {
    {16, [](double signal) { return PqToLuminance(signal) / pqPeak; },
     [](double light) { return LuminanceToPq(light * pqPeak); }},
    {18, HlgToSceneLight, [](double light) { return std::sqrt(light); }}};

/// Whether a curve of a profile gives the same light; not asked at the dark end, of which a table
/// of 16-bit values holds little.
bool IsCurve(const cmsToneCurve* curve, const KnownCurve& known)
{
    constexpr double tolerance = 0.01;
    constexpr double darkest = 0.3;
    for (double signal = darkest; signal < 1.001; signal += 0.05) {
        const double found = cmsEvalToneCurveFloat(curve, static_cast<float>(signal));
        const double light = known.lightOf(signal);
        if (std::abs(known.scale(std::max(found, 0.0)) - known.scale(light)) > tolerance) {
            return false;
        }
    }
    return true;
}

bool AreCurves(cmsHPROFILE profile, const KnownCurve& known)
{
    const auto tags = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    return std::all_of(tags.begin(), tags.end(), [&](cmsTagSignature tag) {
        const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(profile, tag));
        return curve != nullptr && IsCurve(curve, known);
    });
}

Chromaticity ChromaticityOf(const cmsCIEXYZ& colour)
{
    // HDR systems have the white of BT.2020; what counts is that white stays white.
    const Vector3 xyz =
        Multiply(AdaptWhite(pcsWhite, ToXyz(bt2020.white)), Vector3{colour.X, colour.Y, colour.Z});
    const double sum = xyz[0] + xyz[1] + xyz[2];
    return {xyz[0] / sum, xyz[1] / sum};
}

std::optional<Chromaticities> PrimariesOf(cmsHPROFILE profile)
{
    Chromaticities primaries = {{}, {}, {}, bt2020.white};
    const struct {
        cmsTagSignature tag;
        Chromaticity* primary;
    } colorants[] = {{cmsSigRedColorantTag, &primaries.red},
                     {cmsSigGreenColorantTag, &primaries.green},
                     {cmsSigBlueColorantTag, &primaries.blue}};
    for (const auto& colorant : colorants) {
        const auto* colour = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile, colorant.tag));
        if (colour == nullptr) {
            return std::nullopt;
        }
        *colorant.primary = ChromaticityOf(*colour);
    }
    // The tags are rounded; the same primaries by name are the exact ones.
    for (const Chromaticities& known : {bt2020, *FindPrimaries("display-p3"), bt709}) {
        if (SamePrimaries(primaries, known)) {
            return known;
        }
    }
    return AreUsable(primaries) ? std::optional(primaries) : std::nullopt;
}

} // namespace

std::optional<HdrProfile> FindHdrCurve(const std::vector<unsigned char>& profile)
{
    const ContextHandle context = MakeContext();
    const ProfileHandle opened = OpenProfile(context.get(), profile);
    if (!opened || cmsGetColorSpace(opened.get()) != cmsSigRgbData) {
        return std::nullopt;
    }
    for (const KnownCurve& known : knownCurves) {
        if (AreCurves(opened.get(), known)) {
            const auto primaries = PrimariesOf(opened.get());
            return primaries ? std::optional(HdrProfile{known.transfer, *primaries}) : std::nullopt;
        }
    }
    return std::nullopt;
}

bool IsNamedHdr(const std::vector<unsigned char>& profile)
{
    const ContextHandle context = MakeContext();
    const ProfileHandle opened = OpenProfile(context.get(), profile);
    std::array<char, 128> text{};
    if (!opened || cmsGetProfileInfoASCII(opened.get(), cmsInfoDescription, "en", "US", text.data(),
                                          text.size()) == 0)
    {
        return false;
    }
    const std::string name(text.data(), std::find(text.begin(), text.end(), '\0'));
    const auto words = {"PQ", "HLG", "2100", "2084"};
    return std::any_of(words.begin(), words.end(),
                       [&name](const char* word) { return name.find(word) != std::string::npos; });
}

} // namespace qva
