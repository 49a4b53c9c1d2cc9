// The range of a scene brought down to the range of paper.
#pragma once

#include "colorspace/color_space.h"
#include "core/matrix.h"
#include "core/pixel_stream.h"
#include "core/work_planes.h"
#include "tone/htr_parameters.h"
#include "tone/tone_blend.h"
#include "tone/tone_codes.h"

namespace lumo {

/// Takes linear codes of a scene, of which is known what luminances they mean, to linear codes of a
/// print. One object, one picture: its numbers depend on both ranges.
class Htr {
public:
    /// Turns luminances into codes, then looks whether all of it makes sense.
    /// @throws Exception code 3 with the message of the first failing check: an empty or unordered
    ///         input range, luminances outside 0 ... 10000, the same for the output, a threshold
    ///         outside the input range, a long side below 1, detail thresholds outside [0, 1].
    Htr(const LuminanceRangePair& ranges, const HtrParameters& parameters);

    /// The whole picture at once. No export reaches this form, nor Analyze and Correct.
    /// @param src  linear, three channels, D16U or D32F; only read.
    /// @param dst  re-created in the shape of src if it differs; may be src.
    /// @throws Exception code 2 for channels, then depth; whatever the steps throw.
    void operator()(const Matrix& src, Matrix& dst) const;

    /// Learns from a small copy of a page, for Correct: segments, their curves, their weight maps.
    /// `analysis` changes only where all of it succeeds.
    /// @param src  linear and colour-corrected, D16U, analysisRows × analysisCols.
    /// @throws Exception code 2 for channels, code 3 (empty) for the size, code 2 for depth.
    void Analyze(const Matrix& src, HtrAnalysis& analysis) const;

    /// A part of the page, by what Analyze has learnt of all of it.
    /// @param src  linear and colour-corrected, D16U, of the size of `band`.
    /// @throws Exception code 2 for channels, code 3 (empty) for sizes, code 2 for depth, and as
    ///         FastObjectAdaptiveToneMapping::MakeBandBlend.
    void Correct(const Matrix& src, Matrix& dst, const HtrAnalysis& analysis,
                 const BandRect& band) const;

    /// Into the space that tones are mapped in, codes of inputCode.
    /// @throws Exception code 2 for an unknown working space, code 3 for an unknown colour space.
    void Convert2WorkColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const;
    /// Out of it again, from codes of outputCode to linear ones; dst may be src.
    /// @throws Exception as Convert2WorkColorSpace.
    void Convert2DstColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const;

    /// @throws Exception code 3 as the constructor.
    void EnsureValidParameters(const HtrParameters& parameters) const;

    /// What operator(), Analyze and Correct do, for pixels that come from and go to another stage
    /// without being an image in between; exports run these three. `planes` is scratch.
    /// @tparam T  uint16_t or float: the depth that every step is stored in.
    template <typename T>
    void Render(const PixelSource& source, PixelSink& sink, WorkPlanes& planes) const;
    void AnalyzeStream(const PixelSource& source, HtrAnalysis& analysis, WorkPlanes& planes) const;
    void CorrectStream(const PixelSource& source, PixelSink& sink, const HtrAnalysis& analysis,
                       const BandRect& band, WorkPlanes& planes) const;

    /// Divides the image into segments: numSegments of them, or as many as suit it best where
    /// evaluateSegmentsNumber is set.
    /// @param work       three channels of T in the working space.
    /// @param intensity  the first of them as an image.
    /// @param labels     replaced: D32S, labels 0 ... n - 1.
    /// @returns n, at least 1.
    /// @throws Exception as FastSlic and SegmentEvaluater.
    template <typename T>
    int32_t SegmentImage(const Matrix& work, const Matrix& intensity, Matrix_t<int>& labels,
                         int32_t numSegments) const;
    /// The same from planes, the intensity first.
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
    template <typename T, typename Image>
    int32_t Divide(const Image& work, const Matrix& intensity, Matrix_t<int>& labels,
                   int32_t numSegments) const;
    template <typename T>
    void SplitBase(WorkPlanes& planes) const;
    template <typename T>
    void FromPlanes(const ToneBlend& blend, const WorkPlanes& planes, bool adjustChroma,
                    PixelSink& sink) const;

    double thresholdLuminance_; // cd/m2, as received
};

} // namespace lumo
