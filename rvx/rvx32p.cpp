#include "rvx32p.h"

#include "instance.h"

#include <utility>

namespace {

/// Runs the body of an exported function; what it throws becomes a status.
template <typename Body>
int32_t Guarded(Body&& body) noexcept
{
    try {
        return body();
    } catch (...) {
        return RVX_ERROR_INTERNAL;
    }
}

} // namespace

int32_t RVX_Initialize(const uint32_t* version, void* /*reserved*/, RvxInstance* instance)
{
    return Guarded([&]() -> int32_t {
        if (version == nullptr || instance == nullptr || *version != RVX_VERSION) {
            return RVX_ERROR_ARGUMENT;
        }
        const RvxInstance opened = rvx::OpenInstance();
        if (opened == 0) {
            return RVX_ERROR_INTERNAL;
        }
        *instance = opened;
        return RVX_OK;
    });
}

int32_t RVX_CreateColorMatchingXform(RvxInstance instance, const RvxProfileDescriptor* source,
                                     const RvxProfileDescriptor* xyz,
                                     const RvxProfileDescriptor* device, RvxXform* xform,
                                     void* /*reserved*/, uint32_t /*options*/, uint32_t flags,
                                     uint16_t intent)
{
    return Guarded([&]() -> int32_t {
        if (source == nullptr || xyz == nullptr || device == nullptr || xform == nullptr) {
            return RVX_ERROR_ARGUMENT;
        }
        const auto owner = rvx::FindInstance(instance);
        if (!owner) {
            return RVX_ERROR_HANDLE;
        }
        const RvxProfileDescriptor* const profiles[3] = {source, xyz, device};
        std::shared_ptr<const rvx::Transform> made;
        const int32_t status =
            rvx::Transform::Create(owner->context(), profiles, flags, intent, made);
        if (status == RVX_OK) {
            *xform = owner->Add(std::move(made));
        }
        return status;
    });
}

int32_t RVX_MatchColors(RvxInstance instance, RvxXform xform, const uint16_t* in, uint16_t* out,
                        uint32_t count)
{
    return Guarded([&]() -> int32_t {
        const auto owner = rvx::FindInstance(instance);
        const auto transform = owner ? owner->Find(xform) : nullptr;
        if (!transform) {
            return RVX_ERROR_HANDLE;
        }
        if (count == 0) {
            return RVX_OK;
        }
        if (in == nullptr || out == nullptr) {
            return RVX_ERROR_ARGUMENT;
        }
        transform->Convert(in, out, count);
        return RVX_OK;
    });
}

int32_t RVX_DisposeXform(RvxInstance instance, RvxXform xform)
{
    return Guarded([&]() -> int32_t {
        const auto owner = rvx::FindInstance(instance);
        return owner && owner->Remove(xform) ? RVX_OK : RVX_ERROR_HANDLE;
    });
}

int32_t RVX_Terminate(RvxInstance instance)
{
    return Guarded(
        [&]() -> int32_t { return rvx::CloseInstance(instance) ? RVX_OK : RVX_ERROR_HANDLE; });
}
