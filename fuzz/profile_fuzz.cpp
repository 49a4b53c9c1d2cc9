// Any bytes as the device's profile: the matcher answers with a status and an ended instance.
#include "print/embedded_profiles.h"

#include <cstdint>
#include <cstdlib>
#include <rvx32p.h>
#include <vector>

namespace {

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t header = 132;
    if (size < header) {
        return 0;
    }
    const std::vector<uint8_t> bytes(data, data + size);
    const uint32_t version = RVX_VERSION;
    const RvxProfileDescriptor source = Describe(lumo::bt2020Profile);
    const RvxProfileDescriptor xyz = Describe(lumo::xyzProfile);
    const RvxProfileDescriptor device = Describe(bytes.data());
    RvxInstance instance = 0;
    RvxXform xform = 0;
    if (RVX_Initialize(&version, nullptr, &instance) != RVX_OK) {
        std::abort();
    }
    if (RVX_CreateColorMatchingXform(instance, &source, &xyz, &device, &xform, nullptr, 0,
                                     RVX_FLAG_BLACK_POINT_COMPENSATION,
                                     RVX_INTENT_RELATIVE_COLORIMETRIC) == RVX_OK)
    {
        const uint16_t in[6] = {0, 0, 0, 65535, 1000, 40000};
        uint16_t out[6] = {};
        if (RVX_MatchColors(instance, xform, in, out, 2) != RVX_OK ||
            RVX_DisposeXform(instance, xform) != RVX_OK)
        {
            std::abort();
        }
    }
    if (RVX_Terminate(instance) != RVX_OK) {
        std::abort();
    }
    return 0;
}
