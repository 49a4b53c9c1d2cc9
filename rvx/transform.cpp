#include "transform.h"

#include "profile_guard.h"

#include <utility>
#include <vector>

namespace rvx {
namespace {

struct CloseProfile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, CloseProfile>;

bool HasConnectionSpace(cmsHPROFILE profile)
{
    // A damaged profile's signature may be no value of the engine's enumeration.
    const auto space = static_cast<uint32_t>(cmsGetPCS(profile));
    return space == cmsSigXYZData || space == cmsSigLabData;
}

/// The kinds that map the connection space to device values.
bool CanBeWritten(cmsHPROFILE profile)
{
    switch (static_cast<uint32_t>(cmsGetDeviceClass(profile))) {
    case cmsSigOutputClass:
    case cmsSigDisplayClass:
    case cmsSigColorSpaceClass:
        return true;
    case cmsSigInputClass:
        return cmsIsTag(profile, cmsSigBToA0Tag) != 0;
    default:
        return false;
    }
}

bool CanBeRead(cmsHPROFILE profile)
{
    return CanBeWritten(profile) || cmsGetDeviceClass(profile) == cmsSigInputClass;
}

bool IsRgb(cmsHPROFILE profile)
{
    return cmsGetColorSpace(profile) == cmsSigRgbData;
}

int32_t OpenProfile(const Context& context, const RvxProfileDescriptor& record, Profile& opened)
{
    if (record.version != RVX_DESCRIPTOR_VERSION || record.location != RVX_DESCRIPTOR_MEMORY) {
        return RVX_ERROR_ARGUMENT;
    }
    std::vector<uint8_t> bytes;
    const int32_t status = CopyProfile(record.profile, bytes);
    if (status != RVX_OK) {
        return status;
    }
    // The engine makes a copy of its own.
    opened.reset(cmsOpenProfileFromMemTHR(context.get(), bytes.data(),
                                          static_cast<cmsUInt32Number>(bytes.size())));
    return opened && HasConnectionSpace(opened.get()) ? RVX_OK : RVX_ERROR_PROFILE;
}

/// The XYZ profile is the engine's output and the device what it proofs on. Without NOOPTIMIZE the
/// engine resamples the chain and loses white; without SOFTPROOFING it leaves the device out. Its
/// black-point flag acts on the two steps to the device alone, so the black of the print stays
/// measurable. Without a cache a transform holds no state and may serve several threads.
cmsHTRANSFORM MakeProof(const Context& context, const Profile (&profiles)[3], uint32_t flags,
                        uint16_t intent)
{
    cmsUInt32Number engineFlags = cmsFLAGS_SOFTPROOFING | cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;
    if ((flags & RVX_FLAG_BLACK_POINT_COMPENSATION) != 0) {
        engineFlags |= cmsFLAGS_BLACKPOINTCOMPENSATION;
    }
    return cmsCreateProofingTransformTHR(context.get(), profiles[0].get(), TYPE_RGB_16,
                                         profiles[1].get(), TYPE_RGB_16, profiles[2].get(), intent,
                                         INTENT_RELATIVE_COLORIMETRIC, engineFlags);
}

} // namespace

Context MakeContext()
{
    return Context(cmsCreateContext(nullptr, nullptr), [](cmsContext context) {
        if (context != nullptr) {
            cmsDeleteContext(context);
        }
    });
}

Transform::Transform(Context context, Handle handle)
    : context_(std::move(context)), handle_(std::move(handle))
{
}

int32_t Transform::Create(const Context& context, const RvxProfileDescriptor* const profiles[3],
                          uint32_t flags, uint16_t intent, std::shared_ptr<const Transform>& made)
{
    if (intent > RVX_INTENT_ABSOLUTE_COLORIMETRIC) {
        return RVX_ERROR_ARGUMENT;
    }
    Profile opened[3];
    for (int i = 0; i < 3; ++i) {
        const int32_t status = OpenProfile(context, *profiles[i], opened[i]);
        if (status != RVX_OK) {
            return status;
        }
    }
    const auto& [source, xyz, device] = opened;
    if (!CanBeRead(source.get()) || !IsRgb(source.get()) || !CanBeWritten(xyz.get()) ||
        !IsRgb(xyz.get()) || !CanBeWritten(device.get()))
    {
        return RVX_ERROR_PROFILE;
    }
    Handle handle(MakeProof(context, opened, flags, intent));
    if (!handle) {
        return RVX_ERROR_TRANSFORM;
    }
    made.reset(new Transform(context, std::move(handle)));
    return RVX_OK;
}

void Transform::Convert(const uint16_t* in, uint16_t* out, uint32_t count) const
{
    cmsDoTransform(handle_.get(), in, out, count);
}

} // namespace rvx
