#include "colour/viewer_space.h"

#include "base/errors.h"
#include "colour/lcms_handles.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qva {

namespace {

constexpr std::size_t dateField = 24;
constexpr std::size_t dateBytes = 12;

// IEC 61966-2-1: the curve from signal to light, in the form of ICC's parametric type 3 (the
// engine's type 4).
constexpr double srgbCurve[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};

// SMPTE EG 432-1 primaries with the white D65.
constexpr cmsCIExyY d65 = {0.3127, 0.3290, 1.0};
constexpr cmsCIExyYTRIPLE p3Primaries = {
    {0.680, 0.320, 1.0}, {0.265, 0.690, 1.0}, {0.150, 0.060, 1.0}};

ProfileHandle MakeDisplayP3(cmsContext context)
{
    const std::unique_ptr<cmsToneCurve, void (*)(cmsToneCurve*)> curve(
        cmsBuildParametricToneCurve(context, 4, srgbCurve), cmsFreeToneCurve);
    std::array<cmsToneCurve*, 3> curves = {curve.get(), curve.get(), curve.get()};
    ProfileHandle profile(cmsCreateRGBProfileTHR(context, &d65, &p3Primaries, curves.data()));
    const std::unique_ptr<cmsMLU, void (*)(cmsMLU*)> text(cmsMLUalloc(context, 1), cmsMLUfree);
    cmsMLUsetASCII(text.get(), "en", "US", "Display P3");
    cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, text.get());
    return profile;
}

std::vector<unsigned char> BytesOf(cmsHPROFILE profile)
{
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::vector<unsigned char> bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    // Made today or tomorrow, the same picture has the same bytes.
    std::fill_n(bytes.begin() + dateField, dateBytes, static_cast<unsigned char>(0));
    return bytes;
}

} // namespace

struct ViewerSpace::Engine {
    ContextHandle context = MakeContext();
    TransformHandle transform;
};

ViewerSpace::ViewerSpace(std::string name)
    : name_(std::move(name)), engine_(std::make_unique<Engine>())
{
}

ViewerSpace::~ViewerSpace() = default;
ViewerSpace::ViewerSpace(ViewerSpace&&) noexcept = default;

void ViewerSpace::Use(void* display)
{
    cmsContext context = engine_->context.get();
    const ProfileHandle lab(cmsCreateLab4ProfileTHR(context, nullptr));
    engine_->transform.reset(cmsCreateTransformTHR(context, lab.get(), TYPE_Lab_DBL, display,
                                                   TYPE_RGB_FLT, INTENT_RELATIVE_COLORIMETRIC,
                                                   cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
}

ViewerSpace ViewerSpace::Srgb()
{
    ViewerSpace space("sRGB");
    space.Use(ProfileHandle(cmsCreate_sRGBProfileTHR(space.engine_->context.get())).get());
    return space;
}

ViewerSpace ViewerSpace::DisplayP3()
{
    ViewerSpace space("Display P3");
    const ProfileHandle profile = MakeDisplayP3(space.engine_->context.get());
    space.Use(profile.get());
    space.profile_ = BytesOf(profile.get());
    return space;
}

ViewerSpace ViewerSpace::Monitor(const std::string& path)
{
    PrinterProfile file = ReadPrinterProfile(path);
    ViewerSpace space(file.description);
    const ProfileHandle profile = OpenProfile(space.engine_->context.get(), file.bytes);
    if (file.isPrinter) {
        throw Failure(path, "is the profile of a printer, not of a monitor", exitProfile);
    }
    if (!profile || cmsGetColorSpace(profile.get()) != cmsSigRgbData) {
        throw Failure(path, "is not the profile of an RGB display", exitProfile);
    }
    space.Use(profile.get());
    if (!space.engine_->transform) {
        throw Failure(path, "the profile has no way from colours to the display", exitProfile);
    }
    space.profile_ = std::move(file.bytes);
    return space;
}

void ViewerSpace::FromLab(const Lab* lab, std::size_t count, float* rgb) const
{
    cmsDoTransform(engine_->transform.get(), lab, rgb, static_cast<cmsUInt32Number>(count));
}

} // namespace qva
