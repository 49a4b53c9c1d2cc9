// A colour transform of the engine and what it lives on.
#pragma once

#include "rvx32p.h"

#include <cstdint>
#include <memory>
#include <type_traits>

#include <lcms2.h>

namespace rvx {

/// The engine's state for one instance; transforms keep it alive.
using Context = std::shared_ptr<std::remove_pointer_t<cmsContext>>;

/// @return null when there is no memory.
Context MakeContext();

/// From the source's RGB to XYZ as the device reproduces it.
class Transform {
public:
    /// @param profiles  source, XYZ and device, none null.
    /// @param made      receives the transform when RVX_OK is returned.
    /// @return a status; see RVX_CreateColorMatchingXform.
    static int32_t Create(const Context& context, const RvxProfileDescriptor* const profiles[3],
                          uint32_t flags, uint16_t intent, std::shared_ptr<const Transform>& made);

    /// Safe from several threads at once.
    void Convert(const uint16_t* in, uint16_t* out, uint32_t count) const;

private:
    struct DeleteHandle {
        void operator()(void* handle) const { cmsDeleteTransform(handle); }
    };
    using Handle = std::unique_ptr<void, DeleteHandle>;

    Transform(Context context, Handle handle);

    Context context_;
    Handle handle_;
};

} // namespace rvx
