// What a device makes of colours, asked of the matcher.
#pragma once

#include "core/image_converter.h"

#include <cstdint>
#include <rvx32p.h>

namespace lumo {

/// RGB of the source in, XYZ of the print out, by the matcher Rvx32P.
/// Used by one thread.
class Tintrix : public ImageConverterInterface {
public:
    /// @param source, xyz, device  the bytes of the three profiles; read by the matcher at once.
    /// @param rvxIntent            1 media-relative colorimetric, 2 saturation.
    /// @param maxValue, minValue   results for output codes 65535 and 0.
    /// @param option               black-point compensation.
    /// @throws Exception code 3 if the matcher refuses.
    Tintrix(const void* source, const void* xyz, const void* device, uint32_t rvxIntent,
            double maxValue, double minValue, bool option);
    Tintrix(const Tintrix&) = delete;
    Tintrix& operator=(const Tintrix&) = delete;
    /// Releases what is left; a failure to do so goes unreported.
    ~Tintrix() override;

    /// One pixel: inputs are clamped to [0, 65535] and truncated.
    void operator()(const double* in, double* out, size_t channels) const override;

    /// Frees the transform and the instance; does nothing the second time.
    /// @throws Exception code 3 if the matcher cannot free the transform; the instance is ended all
    ///         the same.
    void Release();

    RvxProfileDescriptor descriptors[3];
    uint32_t flags;
    uint32_t intent;
    uint32_t version;
    RvxInstance instance = 0;
    RvxXform xform = 0;
    double valueScale;
    double valueOffset;

private:
    int32_t End();

    bool open_ = false;
};

} // namespace lumo
