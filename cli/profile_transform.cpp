#include "profile_transform.h"

#include "errors.h"
#include "lcms_handles.h"

#include <array>

namespace qva {

namespace {

ProfileHandle LinearBt2020(cmsContext context)
{
    const cmsCIExyY white = {bt2020.white.x, bt2020.white.y, 1.0};
    const cmsCIExyYTRIPLE primaries = {{bt2020.red.x, bt2020.red.y, 1.0},
                                       {bt2020.green.x, bt2020.green.y, 1.0},
                                       {bt2020.blue.x, bt2020.blue.y, 1.0}};
    const std::unique_ptr<cmsToneCurve, void (*)(cmsToneCurve*)> line(cmsBuildGamma(context, 1.0),
                                                                      cmsFreeToneCurve);
    std::array<cmsToneCurve*, 3> curves = {line.get(), line.get(), line.get()};
    return ProfileHandle(cmsCreateRGBProfileTHR(context, &white, &primaries, curves.data()));
}

} // namespace

struct ProfileTransform::Engine {
    ContextHandle context;
    TransformHandle transform;
};

ProfileTransform::ProfileTransform(const std::vector<unsigned char>& profile,
                                   const std::string& name)
    : engine_(std::make_unique<Engine>())
{
    engine_->context = MakeContext();
    cmsContext context = engine_->context.get();
    const ProfileHandle source = OpenProfile(context, profile);
    if (!source) {
        throw Failure(name, "the embedded ICC profile is damaged");
    }
    if (cmsGetColorSpace(source.get()) != cmsSigRgbData) {
        throw Failure(name, "the embedded ICC profile is not for RGB; give --encoding to set it "
                            "aside");
    }
    const ProfileHandle target = LinearBt2020(context);
    engine_->transform.reset(cmsCreateTransformTHR(
        context, source.get(), TYPE_RGB_FLT, target.get(), TYPE_RGB_FLT,
        INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOCACHE | cmsFLAGS_NOOPTIMIZE));
    if (!engine_->transform) {
        throw Failure(name, "the embedded ICC profile cannot be used");
    }
}

ProfileTransform::~ProfileTransform() = default;

void ProfileTransform::Convert(float* rgb, std::size_t pixels) const
{
    cmsDoTransform(engine_->transform.get(), rgb, rgb, static_cast<cmsUInt32Number>(pixels));
}

std::optional<CodePoints> FindCodePoints(const std::vector<unsigned char>& profile)
{
    const ContextHandle context = MakeContext();
    const ProfileHandle handle = OpenProfile(context.get(), profile);
    if (!handle) {
        return std::nullopt;
    }
    const auto* tag =
        static_cast<const cmsVideoSignalType*>(cmsReadTag(handle.get(), cmsSigcicpTag));
    if (tag == nullptr) {
        return std::nullopt;
    }
    return CodePoints{tag->ColourPrimaries, tag->TransferCharacteristics, tag->MatrixCoefficients,
                      tag->VideoFullRangeFlag != 0};
}

} // namespace qva
