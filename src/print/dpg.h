// Puts back the local detail that the output device would lose.
#pragma once

#include "colorspace/color_space.h"
#include "colorspace/convert_ictcp_to_xrgb.h"
#include "colorspace/convert_xrgb_to_ictcp.h"
#include "colorspace/lut3d.h"
#include "core/matrix.h"
#include "core/pixel_stream.h"
#include "core/vector.h"
#include "core/work_planes.h"

namespace lumo {

struct DpgParameters {
    int32_t workColorSpace = ICtCp; ///< must be ICtCp
    SharedObject<Lut3D> printLut;   ///< encoded RGB to the XYZ the device reproduces, 1.0 = white
    float wlsSigma = 0.03f;
    float wlsLambda = 200.0f;
};

/// Exaggerates what the device will flatten. Looks up what it makes of every colour, parts both
/// pictures, the one meant and the one printed, into large forms and detail, and adds to the
/// intensity as much detail as the second has less. Ct and Cp are left alone.
class Dpg {
public:
    /// @param ranges      codes of the image given and of the image returned, 1/2.2-encoded.
    /// @param parameters  copied; printLut is shared.
    Dpg(const LuminanceRangePair& ranges, const DpgParameters& parameters);

    /// The step over a whole image. No export reaches this form: prints run a DpgStage.
    /// @param src  three channels, D16U or D32F; only read.
    /// @param dst  re-created in the shape of src; may be src.
    /// @throws Exception code 2 for channels, then depth; code 3 for the work colour space.
    void operator()(const Matrix& src, Matrix& dst) const;

    /// 1/2.2-encoded RGB to ICtCp. @param src D16U or D32F with three channels.
    /// @throws Exception code 3 for the work colour space.
    void Convert2WorkColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const;
    /// ICtCp back to 1/2.2-encoded RGB. dst may be src.
    /// @throws Exception code 3 for the work colour space.
    void Convert2DstColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const;

    LuminanceRange input;
    LuminanceRange output;
    DpgParameters params;
    LuminanceRange work;

private:
    template <typename T>
    void Run(const Matrix& src, Matrix& dst) const;
};

} // namespace lumo
