// The tone-reproduction operator.
#pragma once

#include "colorspace/color_space.h"
#include "core/matrix.h"
#include "core/pixel_stream.h"
#include "core/work_planes.h"
#include "tone/htr_parameters.h"
#include "tone/tone_blend.h"
#include "tone/tone_codes.h"

namespace lumo {

/// Renders a linear image whose codes stand for a known luminance range for a narrower output
/// range. Built for one run.
class Htr {
public:
    /// Codes of thresholds and ranges are computed, then everything is validated.
    /// @throws Exception code 3 with the message of the first failing check: an empty or unordered
    ///         input range, luminances outside 0 ... 10000, the same for the output, a threshold
    ///         outside the input range, a long side below 1, detail thresholds outside [0, 1].
    Htr(const LuminanceRangePair& ranges, const HtrParameters& parameters);

    /// Renders a whole image.
    /// @param src  linear, three channels, D16U or D32F; only read.
    /// @param dst  re-created in the shape of src if it differs; may be src.
    /// @throws Exception code 2 for channels, then depth; whatever the steps throw.
    void operator()(const Matrix& src, Matrix& dst) const;

    /// Segments an image and stores the curves and weight maps of its segments; on failure
    /// `analysis` is as it was.
    /// @param src  linear and colour-corrected, D16U, analysisRows × analysisCols.
    /// @throws Exception code 2 for channels, code 3 (empty) for the size, code 2 for depth.
    void Analyze(const Matrix& src, HtrAnalysis& analysis) const;

    /// Renders a band with the curves and maps of an analysis.
    /// @param src  linear and colour-corrected, D16U, of the size of `band`.
    /// @throws Exception code 2 for channels, code 3 (empty) for sizes, code 2 for depth, and as
    ///         FastObjectAdaptiveToneMapping::MakeBandBlend.
    void Correct(const Matrix& src, Matrix& dst, const HtrAnalysis& analysis,
                 const BandRect& band) const;

    /// RGB or XYZ to the working space, coded in inputCode.
    /// @throws Exception code 2 for an unknown working space, code 3 for an unknown colour space.
    void Convert2WorkColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const;
    /// The way back, from codes of outputCode; dst may be src.
    /// @throws Exception as Convert2WorkColorSpace.
    void Convert2DstColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const;

    /// @throws Exception code 3 as the constructor.
    void EnsureValidParameters(const HtrParameters& parameters) const;

    /// The steps of the entry points over streams of pixels, for pipelines that run other stages in
    /// the same passes. `planes` is scratch.
    /// @tparam T  uint16_t or float: the depth that every step is stored in.
    template <typename T>
    void Render(const PixelSource& source, PixelSink& sink, WorkPlanes& planes) const;
    void AnalyzeStream(const PixelSource& source, HtrAnalysis& analysis, WorkPlanes& planes) const;
    void CorrectStream(const PixelSource& source, PixelSink& sink, const HtrAnalysis& analysis,
                       const BandRect& band, WorkPlanes& planes) const;

    /// Divides the image into segments.
    /// @param work    three channels in the working space, the intensity first.
    /// @param labels  replaced: D32S, labels 0 ... n - 1.
    /// @returns n, at least 1.
    template <typename T>
    int32_t SegmentImage(const Matrix (&work)[3], Matrix_t<int>& labels, int32_t numSegments) const;

    LuminanceRange input;
    LuminanceRange output;
    HtrParameters params; ///< thresholds hold codes after construction
    CodeRange inputCode;
    CodeRange outputCode;

private:
    void InitializeCodeRanges();
    double ChromaOffset() const { return inputCode.codeMax * 0.5; }
    ToneCodes Codes() const;
    static void EnsureBand(int32_t rows, int32_t cols, const HtrAnalysis& analysis,
                           const BandRect& band);
    template <typename T>
    void ToPlanes(const PixelSource& source, const ImageConverterInterface* correction,
                  WorkPlanes& planes) const;
    template <typename T>
    Matrix_t<int> SegmentPlanes(const WorkPlanes& planes, int32_t longSide, int32_t& count) const;
    template <typename T>
    void SplitBase(WorkPlanes& planes) const;
    template <typename T>
    void FromPlanes(const ToneBlend& blend, const WorkPlanes& planes, bool adjustChroma,
                    PixelSink& sink) const;

    double thresholdLuminance_; // cd/m2, as received
};

} // namespace lumo
