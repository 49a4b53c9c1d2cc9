#include "colour/profile_transform.h"

#include "base/errors.h"
#include "colour/lcms_handles.h"

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

std::size_t Number32(const std::vector<unsigned char>& bytes, std::size_t at)
{
    std::size_t number = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
        number = number << 8 | bytes[i];
    }
    return number;
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
    // A longer size would let tags lie in what follows; bytes behind the profile are only padding.
    const bool isWhole = profile.size() >= 128 && Number32(profile, 0) <= profile.size();
    const ProfileHandle source = isWhole ? OpenProfile(context, profile) : nullptr;
    if (!source) {
        throw Failure(name, "the embedded ICC profile is damaged; give --encoding to set it aside");
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
    // Read by hand: the engine expects this tag (ICC.1:2022, 10.5, 12 bytes) in another length.
    constexpr std::size_t table = 132;
    constexpr std::size_t entryBytes = 12;
    const std::size_t count = profile.size() < table ? 0 : Number32(profile, table - 4);
    for (std::size_t i = 0; i < count && table + (i + 1) * entryBytes <= profile.size(); ++i) {
        const std::size_t entry = table + i * entryBytes;
        const std::size_t offset = Number32(profile, entry + 4);
        if (Number32(profile, entry) != cmsSigcicpTag || offset + 12 > profile.size() ||
            Number32(profile, offset) != cmsSigcicpType)
        {
            continue;
        }
        const unsigned char* values = profile.data() + offset + 8;
        return CodePoints{values[0], values[1], values[2], values[3] != 0};
    }
    return std::nullopt;
}

} // namespace qva
