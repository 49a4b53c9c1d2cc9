#include "colour/matrix_profile.h"

#include "colour/lcms_handles.h"

namespace qva {

namespace {

bool IsMatrixProfile(cmsHPROFILE profile)
{
    // Tables are preferred to a matrix where a profile has both.
    bool hasTables = false;
    for (const cmsTagSignature tag :
         {cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigDToB0Tag, cmsSigDToB1Tag}) {
        hasTables = hasTables || cmsIsTag(profile, tag) != FALSE;
    }
    return !hasTables && cmsGetColorSpace(profile) == cmsSigRgbData &&
           cmsIsMatrixShaper(profile) != FALSE;
}

/// x and y of a colour as it looks under D65 in place of the connection space's white.
std::optional<Chromaticity> ReadColorant(cmsHPROFILE profile, cmsTagSignature tag)
{
    const auto* found = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile, tag));
    if (found == nullptr) {
        return std::nullopt;
    }
    const Matrix3 adaptation = AdaptWhite(pcsWhite, ToXyz(bt709.white));
    const Vector3 xyz = Multiply(adaptation, Vector3{found->X, found->Y, found->Z});
    const double sum = xyz[0] + xyz[1] + xyz[2];
    if (!(sum > 0.0)) {
        return std::nullopt;
    }
    return Chromaticity{xyz[0] / sum, xyz[1] / sum};
}

} // namespace

std::optional<MatrixProfile> TakeApart(const std::vector<unsigned char>& profile, std::size_t codes)
{
    const ContextHandle context = MakeContext();
    const ProfileHandle source = OpenProfile(context.get(), profile);
    if (!source || !IsMatrixProfile(source.get())) {
        return std::nullopt;
    }
    const std::optional<Chromaticity> red = ReadColorant(source.get(), cmsSigRedColorantTag);
    const std::optional<Chromaticity> green = ReadColorant(source.get(), cmsSigGreenColorantTag);
    const std::optional<Chromaticity> blue = ReadColorant(source.get(), cmsSigBlueColorantTag);
    if (!red || !green || !blue) {
        return std::nullopt;
    }
    MatrixProfile parts{{*red, *green, *blue, bt709.white}, {}};
    constexpr cmsTagSignature tags[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    for (std::size_t k = 0; k < 3; ++k) {
        const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(source.get(), tags[k]));
        if (curve == nullptr) {
            return std::nullopt;
        }
        for (std::size_t code = 0; code < codes; ++code) {
            const float signal = static_cast<float>(code) / static_cast<float>(codes - 1);
            parts.curves[k].push_back(cmsEvalToneCurveFloat(curve, signal));
        }
    }
    return AreUsable(parts.primaries) ? std::optional(parts) : std::nullopt;
}

} // namespace qva
