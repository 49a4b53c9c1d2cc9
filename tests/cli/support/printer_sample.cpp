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

int CmykToLab(const cmsUInt16Number* device, cmsUInt16Number* lab, void*)
{
    cmsUInt16Number rgb[3];
    for (int k = 0; k < 3; ++k) {
        rgb[k] = static_cast<cmsUInt16Number>((65535U - device[k]) * (65535U - device[3]) / 65535U);
    }
    return ToLab(rgb, lab, nullptr);
}

int CmykFromLab(const cmsUInt16Number* lab, cmsUInt16Number* device, void*)
{
    FromLab(lab, device, nullptr);
    for (int k = 0; k < 3; ++k) {
        device[k] = static_cast<cmsUInt16Number>(65535 - device[k]);
    }
    device[3] = 0;
    return TRUE;
}

struct Grid {
    cmsUInt32Number points;
    cmsUInt32Number from; ///< channels
    cmsUInt32Number to;
};

void WriteTable(cmsHPROFILE profile, cmsTagSignature tag, cmsTagSignature sameTag, const Grid& size,
                cmsSAMPLER16 sampler)
{
    cmsContext context = cmsGetProfileContextID(profile);
    const std::unique_ptr<cmsPipeline, void (*)(cmsPipeline*)> table(
        cmsPipelineAlloc(context, size.from, size.to), cmsPipelineFree);
    cmsStage* grid = cmsStageAllocCLut16bit(context, size.points, size.from, size.to, nullptr);
    cmsStageSampleCLut16bit(grid, sampler, nullptr, 0);
    cmsPipelineInsertStage(table.get(), cmsAT_END, grid);
    cmsWriteTag(profile, tag, table.get());
    cmsLinkTag(profile, sameTag, tag);
}

} // namespace

std::string PrinterSample(const PrinterKind& kind)
{
    const ContextHandle context = MakeContext();
    const ProfileHandle profile(cmsCreateProfilePlaceholder(context.get()));
    const cmsUInt32Number channels = kind.isCmyk ? 4 : 3;
    cmsSetProfileVersion(profile.get(), 2.4);
    cmsSetDeviceClass(profile.get(), cmsSigOutputClass);
    cmsSetColorSpace(profile.get(), kind.isCmyk ? cmsSigCmykData : cmsSigRgbData);
    cmsSetPCS(profile.get(), cmsSigLabData);
    if (kind.hasFromDevice) {
        WriteTable(profile.get(), cmsSigAToB0Tag, cmsSigAToB1Tag, {5, channels, 3},
                   kind.isCmyk ? CmykToLab : ToLab);
    }
    if (kind.hasToDevice) {
        WriteTable(profile.get(), cmsSigBToA0Tag, cmsSigBToA1Tag, {9, 3, channels},
                   kind.isCmyk ? CmykFromLab : FromLab);
    }
    const cmsCIEXYZ white = {cmsD50_XYZ()->X * kind.whiteY, kind.whiteY,
                             cmsD50_XYZ()->Z * kind.whiteY};
    cmsWriteTag(profile.get(), cmsSigMediaWhitePointTag, &white);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    std::string bytes(size, '\0');
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    return bytes;
}

PrinterProfile ProfileSample(const PrinterKind& kind)
{
    const std::string bytes = PrinterSample(kind);
    return {{bytes.begin(), bytes.end()}, "sample"};
}

DeviceProfile DeviceSample(const PrinterKind& kind, const DeviceIntent& intent)
{
    return {ProfileSample(kind), intent, "sample.icc"};
}

} // namespace qva::samples
