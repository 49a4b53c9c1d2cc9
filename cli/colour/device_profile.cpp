#include "colour/device_profile.h"

#include "base/errors.h"
#include "colour/icc_builder.h"
#include "colour/lcms_handles.h"

#include <fmt/format.h>

namespace qva {

namespace {

// As the matcher has them: chains that are not resampled keep white, and without a cache a
// transform holds no state.
constexpr cmsUInt32Number exactFlags = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;

cmsUInt32Number Device16(cmsHPROFILE profile)
{
    const auto space = static_cast<cmsUInt32Number>(_cmsLCMScolorSpace(cmsGetColorSpace(profile)));
    return COLORSPACE_SH(space) | CHANNELS_SH(cmsChannelsOf(cmsGetColorSpace(profile))) |
           BYTES_SH(2);
}

/// Tables of an intent, or those that stand in for it, or curves.
bool HasDirection(cmsHPROFILE profile, cmsTagSignature table, cmsTagSignature anyTable)
{
    return cmsIsTag(profile, table) != 0 || cmsIsTag(profile, anyTable) != 0 ||
           cmsIsMatrixShaper(profile) != 0 || cmsIsTag(profile, cmsSigGrayTRCTag) != 0;
}

void CheckDirections(cmsHPROFILE profile, bool saturation, const std::string& name)
{
    const auto toDevice = saturation ? cmsSigBToA2Tag : cmsSigBToA1Tag;
    if (!HasDirection(profile, toDevice, cmsSigBToA0Tag)) {
        throw Failure(name, "the profile has no table from colours to device values (BToA)",
                      exitProfile);
    }
    if (!HasDirection(profile, cmsSigAToB1Tag, cmsSigAToB0Tag)) {
        throw Failure(name, "the profile has no table from device values to colours (AToB)",
                      exitProfile);
    }
}

/// The names of the profile's colorants (tag clrt), or numbers.
std::vector<std::string> ColorantNames(cmsHPROFILE profile)
{
    const auto count = static_cast<cmsUInt32Number>(cmsChannelsOf(cmsGetColorSpace(profile)));
    const auto* table =
        static_cast<const cmsNAMEDCOLORLIST*>(cmsReadTag(profile, cmsSigColorantTableTag));
    std::vector<std::string> names;
    for (cmsUInt32Number i = 0; i < count; ++i) {
        char name[cmsMAX_PATH] = "";
        const bool isNamed =
            table != nullptr && cmsNamedColorCount(table) == count &&
            cmsNamedColorInfo(table, i, name, nullptr, nullptr, nullptr, nullptr) != 0;
        names.push_back(isNamed && *name != 0 ? OneLine(name) : fmt::format("Ink {}", i + 1));
    }
    return names;
}

} // namespace

struct DeviceProfile::Engine {
    ContextHandle context = MakeContext();
    cmsColorSpaceSignature space{};
    std::vector<std::string> names; ///< of the channels, where the space does not say
    TransformHandle toDevice;
    TransformHandle asked;
    TransformHandle relative;
    TransformHandle absolute;
};

DeviceProfile::DeviceProfile(const PrinterProfile& profile, const DeviceIntent& intent,
                             const std::string& name)
    : engine_(std::make_unique<Engine>())
{
    Engine& engine = *engine_;
    cmsContext context = engine.context.get();
    const ProfileHandle device = OpenProfile(context, profile.bytes);
    if (!device) {
        throw Failure(name, "the profile is damaged", exitProfile);
    }
    const cmsColorSpaceSignature space = cmsGetColorSpace(device.get());
    if (space == cmsSigLabData || space == cmsSigXYZData) {
        throw Failure(name, "describes colours, not a device: a printer's profile is needed",
                      exitProfile);
    }
    CheckDirections(device.get(), intent.saturation, name);
    engine.space = space;
    engine.names = ColorantNames(device.get());
    const ProfileHandle codes = OpenProfile(context, RenderedProfile());
    const ProfileHandle lab(cmsCreateLab4ProfileTHR(context, nullptr));
    const cmsUInt32Number format = Device16(device.get());
    const auto make = [&](cmsHPROFILE from, cmsUInt32Number fromFormat, cmsHPROFILE to,
                          cmsUInt32Number toFormat, cmsUInt32Number wanted, cmsUInt32Number flags) {
        TransformHandle made(cmsCreateTransformTHR(context, from, fromFormat, to, toFormat, wanted,
                                                   exactFlags | flags));
        if (!made) {
            throw Failure(name, "the profile is damaged: its tables cannot be used", exitProfile);
        }
        return made;
    };
    engine.toDevice = make(codes.get(), TYPE_RGB_16, device.get(), format,
                           intent.saturation ? INTENT_SATURATION : INTENT_RELATIVE_COLORIMETRIC,
                           intent.blackPointCompensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0);
    engine.asked =
        make(codes.get(), TYPE_RGB_16, lab.get(), TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC, 0);
    engine.relative =
        make(device.get(), format, lab.get(), TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC, 0);
    engine.absolute =
        make(device.get(), format, lab.get(), TYPE_Lab_DBL, INTENT_ABSOLUTE_COLORIMETRIC, 0);
}

DeviceProfile::~DeviceProfile() = default;
DeviceProfile::DeviceProfile(DeviceProfile&&) noexcept = default;

int DeviceProfile::Channels() const
{
    return static_cast<int>(cmsChannelsOf(engine_->space));
}

bool DeviceProfile::IsInk() const
{
    switch (engine_->space) {
    case cmsSigCmykData:
    case cmsSigCmyData:
        return true;
    default:
        return Space().substr(1) == "CLR" || Space().starts_with("MCH");
    }
}

std::string DeviceProfile::Space() const
{
    const auto signature = static_cast<std::uint32_t>(engine_->space);
    std::string text;
    for (const int shift : {24, 16, 8, 0}) {
        text.push_back(static_cast<char>(signature >> shift & 0xff));
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::vector<std::string> DeviceProfile::ChannelNames() const
{
    switch (engine_->space) {
    case cmsSigCmykData:
        return {"Cyan", "Magenta", "Yellow", "Black"};
    case cmsSigCmyData:
        return {"Cyan", "Magenta", "Yellow"};
    case cmsSigRgbData:
        return {"Red", "Green", "Blue"};
    case cmsSigGrayData:
        return {"Grey"};
    default:
        break;
    }
    return engine_->names;
}

void DeviceProfile::FromCodes(const std::uint16_t* codes, std::size_t count,
                              std::uint16_t* device) const
{
    cmsDoTransform(engine_->toDevice.get(), codes, device, static_cast<cmsUInt32Number>(count));
}

void DeviceProfile::ToLab(const std::uint16_t* device, std::size_t count, PaperWhite white,
                          Lab* lab) const
{
    const TransformHandle& transform =
        white == PaperWhite::Shown ? engine_->absolute : engine_->relative;
    cmsDoTransform(transform.get(), device, lab, static_cast<cmsUInt32Number>(count));
}

void DeviceProfile::AskedLab(const std::uint16_t* codes, std::size_t count, Lab* lab) const
{
    cmsDoTransform(engine_->asked.get(), codes, lab, static_cast<cmsUInt32Number>(count));
}

} // namespace qva
