// What a handle points to: the rendering, analysis and correction operations.
#pragma once

#include "colorspace/color_space.h"
#include "core/matrix.h"
#include "core/pixel_stream.h"
#include "core/power_curve.h"
#include "core/work_planes.h"
#include "print/dpg.h"
#include "print/tintrix.h"
#include "tone/htr.h"
#include "tone/htr_parameters.h"

#include <lumo/qva.h>

namespace lumo {

/// One controller serves one call at a time; different controllers are independent but for the
/// values that the first correction of the process fixes. Operations return a status code and let
/// no exception out.
class QvaController {
public:
    /// The first construction of the process silences the library's output stream.
    /// @throws std::bad_alloc or Exception when memory runs out.
    QvaController();

    /// Renders a whole image for print or preview. Sets the segmentation's long side and window for
    /// good; dst is written only on success.
    uint32_t Apply(const QVA_IMAGE* dst, const QVA_IMAGE* src, const QVA_SOURCE_ENCODING* encoding,
                   const QVA_OUTPUT_CONDITIONS* conditions, bool print);

    /// Analyses a reduced page into analysisState. Takes the threshold over even where it then
    /// refuses the image's size.
    uint32_t Analysis(const QVA_IMAGE* src, const QVA_SOURCE_ENCODING* encoding,
                      const QVA_OUTPUT_CONDITIONS* conditions);

    /// Renders a band with the stored analysis.
    uint32_t CorrectionForPrint(const QVA_IMAGE* dst, const QVA_IMAGE* src,
                                const QVA_SOURCE_ENCODING* encoding,
                                const QVA_OUTPUT_CONDITIONS* conditions, const QVA_BAND_AREA* band,
                                const QVA_PAGE_AREA* page);

    /// What follows, up to ApplyDpg, no export reaches: stages over whole images.

    /// Normalised codes to linear light (MakeLinearMap).
    /// @param src  D16U. @param dst shares src for type 0, else re-created in its shape.
    /// @throws Exception code 3 for an unknown type.
    static void Convert2Linear(const Matrix& src, Matrix& dst, uint32_t gammaType,
                               double luminanceMin, double luminanceMax);

    /// The caller's codes to output codes of the 1/2.2 curve, whole images.
    void RenderTone(const Matrix& src, Matrix& dst, const QVA_SOURCE_ENCODING& encoding,
                    const LuminanceRangePair& ranges) const;

    /// The device step, whole images.
    void ApplyDpg(const Matrix& src, Matrix& dst, const LuminanceRangePair& ranges,
                  const Tintrix& transform) const;

    /// The parameters of the device step for an image of `pixelCount` pixels: strength by its size,
    /// the device table sampled from `transform`.
    DpgParameters PrepareDpgParameters(int64_t pixelCount, const Tintrix& transform) const;

    HtrParameters htrParameters;
    DpgParameters dpgParameters;
    PowerCurveTable outputCurve;
    HtrAnalysis analysisState;

private:
    HtrParameters ParametersFor(int64_t pixelCount, const LuminanceRangePair& ranges) const;
    void Render(const Matrix& source, PixelSink& sink, const QVA_SOURCE_ENCODING& encoding,
                const LuminanceRangePair& ranges, WorkPlanes& planes,
                const ImageConverterInterface* compression) const;
    void Print(const QVA_IMAGE& dst, const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
               const QVA_OUTPUT_CONDITIONS& conditions, bool print) const;
    void Analyse(const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
                 const QVA_OUTPUT_CONDITIONS& conditions);
    void Correct(const QVA_IMAGE& dst, const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
                 const QVA_OUTPUT_CONDITIONS& conditions, const BandRect& band) const;
};

/// Whether a stored analysis can be used: sizes of 1 ... 1200, more than one segment, curves.
/// @returns 0 or 5.
uint32_t ValidateAnalysis(const HtrAnalysis& analysis);

/// The ranges of the device step: whatever the output's top, 0 ... 100 cd/m2.
LuminanceRangePair DpgRanges(const LuminanceRangePair& ranges);

inline int64_t PixelCount(const Matrix& image)
{
    return static_cast<int64_t>(image.rows) * image.cols;
}

/// A header over the caller's pixels.
/// @throws Exception code 1 for an image wider or higher than 2^31 - 65.
Matrix WrapImage(const QVA_IMAGE& image);

/// Copies a finished image into the caller's buffer.
/// @param image  D16U, three channels, the size of dst.
void WriteDestination(const Matrix& image, const QVA_IMAGE& dst);

} // namespace lumo
