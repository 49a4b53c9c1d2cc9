#include "printer_sample.h"

#include "colour/lcms_handles.h"

#include <algorithm>

namespace qva::samples {

namespace {

constexpr double black = 10.0;
constexpr double span = 85.0;
constexpr double redGreen = 80.0;
constexpr double yellowBlue = 60.0;

// Lab as profiles of version 2 hold it in 16 bits: 100 is 0xff00, a and b begin at -128.
cmsUInt16Number Code(double value, double offset, double scale)
{
    return static_cast<cmsUInt16Number>(std::clamp((value + offset) * scale, 0.0, 65535.0));
}

constexpr double lightScale = 65280.0 / 100.0;
constexpr double colourScale = 256.0;

int ToLab(const cmsUInt16Number* device, cmsUInt16Number* lab, void*)
{
    const double r = device[0] / 65535.0;
    const double g = device[1] / 65535.0;
    const double b = device[2] / 65535.0;
    lab[0] = Code(black + span * (0.25 * r + 0.6 * g + 0.15 * b), 0.0, lightScale);
    lab[1] = Code(redGreen * (r - g), 128.0, colourScale);
    lab[2] = Code(yellowBlue * (0.5 * (r + g) - b), 128.0, colourScale);
    return TRUE;
}

/// ToLab solved for the device.
int FromLab(const cmsUInt16Number* lab, cmsUInt16Number* device, void*)
{
    const double light = (lab[0] / lightScale - black) / span;
    const double toGreen = (lab[1] / colourScale - 128.0) / redGreen;
    const double toBlue = (lab[2] / colourScale - 128.0) / yellowBlue + toGreen / 2.0;
    const double red = light + 0.6 * toGreen + 0.15 * toBlue;
    device[0] = Code(red, 0.0, 65535.0);
    device[1] = Code(red - toGreen, 0.0, 65535.0);
    device[2] = Code(red - toBlue, 0.0, 65535.0);
    return TRUE;
}

void WriteTable(cmsHPROFILE profile, cmsTagSignature tag, cmsUInt32Number points,
                cmsSAMPLER16 sampler)
{
    cmsContext context = cmsGetProfileContextID(profile);
    const std::unique_ptr<cmsPipeline, void (*)(cmsPipeline*)> table(
        cmsPipelineAlloc(context, 3, 3), cmsPipelineFree);
    cmsStage* grid = cmsStageAllocCLut16bit(context, points, 3, 3, nullptr);
    cmsStageSampleCLut16bit(grid, sampler, nullptr, 0);
    cmsPipelineInsertStage(table.get(), cmsAT_END, grid);
    cmsWriteTag(profile, tag, table.get());
}

} // namespace

std::string PrinterSample()
{
    const ContextHandle context = MakeContext();
    const ProfileHandle profile(cmsCreateProfilePlaceholder(context.get()));
    cmsSetProfileVersion(profile.get(), 2.4);
    cmsSetDeviceClass(profile.get(), cmsSigOutputClass);
    cmsSetColorSpace(profile.get(), cmsSigRgbData);
    cmsSetPCS(profile.get(), cmsSigLabData);
    WriteTable(profile.get(), cmsSigAToB0Tag, 5, ToLab);
    WriteTable(profile.get(), cmsSigBToA0Tag, 9, FromLab);
    cmsLinkTag(profile.get(), cmsSigAToB1Tag, cmsSigAToB0Tag);
    cmsLinkTag(profile.get(), cmsSigBToA1Tag, cmsSigBToA0Tag);
    cmsWriteTag(profile.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    std::string bytes(size, '\0');
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    return bytes;
}

} // namespace qva::samples
