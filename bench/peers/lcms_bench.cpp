// Little CMS: one table of 17 nodes an axis over 16-bit pixels, its optimised link.
#include "../scene.h"
#include "colour/photo_paper_profile.h"

#include <benchmark/benchmark.h>
#include <lcms2.h>

namespace lumo::bench {
namespace {

cmsHPROFILE Bt2020Profile()
{
    // ITU-R BT.2020: white and primaries.
    const cmsCIExyY white = {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries = {
        {0.708, 0.292, 1.0}, {0.170, 0.797, 1.0}, {0.131, 0.046, 1.0}};
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve* const curves[] = {curve, curve, curve};
    cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(curve);
    return profile;
}

void DeviceLink(benchmark::State& state)
{
    constexpr uint32_t width = 1536;
    constexpr uint32_t height = 1024;
    const std::vector<uint16_t> source = MakeScene(width, height);
    std::vector<uint16_t> result(source.size());
    cmsHPROFILE input = Bt2020Profile();
    cmsHPROFILE output = cmsOpenProfileFromMem(
        qva::photoPaperProfile, static_cast<cmsUInt32Number>(qva::photoPaperProfileSize));
    cmsHTRANSFORM link =
        cmsCreateTransform(input, TYPE_RGB_16, output, TYPE_RGB_16, INTENT_RELATIVE_COLORIMETRIC,
                           cmsFLAGS_GRIDPOINTS(17) | cmsFLAGS_NOCACHE);
    for (auto _ : state) {
        cmsDoTransform(link, source.data(), result.data(), width * height);
    }
    cmsDeleteTransform(link);
    cmsCloseProfile(output);
    cmsCloseProfile(input);
}

BENCHMARK(DeviceLink);

} // namespace
} // namespace lumo::bench
