#include "print/tintrix.h"

#include "core/exception.h"
#include "core/saturate.h"

namespace lumo {
namespace {

constexpr uint32_t plainFlags = RVX_FLAGS_OF_EVERY_CALL;
constexpr uint32_t compensatingFlags = plainFlags | RVX_FLAG_BLACK_POINT_COMPENSATION;

RvxProfileDescriptor Describe(const void* profile)
{
    RvxProfileDescriptor descriptor = {};
    descriptor.version = RVX_DESCRIPTOR_VERSION;
    descriptor.location = RVX_DESCRIPTOR_MEMORY;
    descriptor.count = 1;
    descriptor.profile = profile;
    descriptor.api = RVX_VERSION;
    return descriptor;
}

[[noreturn]] void FailToCreate()
{
    throw Exception(exceptionArgument, "Error in Tintrix::Tintrix, failed to create tintrix");
}

} // namespace

Tintrix::Tintrix(const void* source, const void* xyz, const void* device, uint32_t rvxIntent,
                 double maxValue, double minValue, bool option)
    : descriptors{Describe(source), Describe(xyz), Describe(device)},
      flags(option ? compensatingFlags : plainFlags),
      intent(rvxIntent),
      version(RVX_VERSION),
      valueScale((maxValue - minValue) / 65535.0),
      valueOffset(minValue)
{
    if (RVX_Initialize(&version, nullptr, &instance) != 0) {
        FailToCreate();
    }
    if (RVX_CreateColorMatchingXform(instance, &descriptors[0], &descriptors[1], &descriptors[2],
                                     &xform, nullptr, 0, flags, static_cast<uint16_t>(intent)) != 0)
    {
        RVX_Terminate(instance);
        FailToCreate();
    }
    open_ = true;
}

Tintrix::~Tintrix()
{
    End();
}

void Tintrix::operator()(const double* in, double* out, size_t) const
{
    uint16_t code[3];
    uint16_t matched[3] = {0, 0, 0};
    for (int c = 0; c < 3; ++c) {
        code[c] = Saturate<uint16_t>(in[c]);
    }
    RVX_MatchColors(instance, xform, code, matched, 1);
    for (int c = 0; c < 3; ++c) {
        out[c] = matched[c] * valueScale + valueOffset;
    }
}

void Tintrix::Release()
{
    if (End() != 0) {
        throw Exception(exceptionArgument, "Error in Tintrix::Release, tintrix termination failed");
    }
}

int32_t Tintrix::End()
{
    if (!open_) {
        return 0;
    }
    open_ = false;
    const int32_t status = xform != 0 ? RVX_DisposeXform(instance, xform) : 0;
    if (status == 0) {
        xform = 0;
    }
    RVX_Terminate(instance);
    return status;
}

} // namespace lumo
