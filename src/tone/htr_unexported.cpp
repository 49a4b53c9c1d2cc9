// No export reaches what stands here: the operator over whole images. Renderings, analyses and
// corrections run its streams.
#include "core/exception.h"
#include "core/image_converter.h"
#include "tone/htr.h"
#include "tone/work_space.h"

namespace lumo {

void Htr::operator()(const Matrix& src, Matrix& dst) const
{
    if (src.channels != 3) {
        throw Exception(exceptionFormat, "Error in Htr::operator(), src channels must be 3");
    }
    const Matrix source(src);
    const int32_t depth = DepthOf(source.type);
    if (depth != D16U && depth != D32F) {
        throw Exception(exceptionFormat, "Error in Htr::operator(), src depth must be D16U/D32F");
    }
    WorkPlanes planes;
    dst.Ensure(source.rows, source.cols, source.type);
    if (depth == D16U) {
        MatrixSink<uint16_t> sink(dst);
        Render<uint16_t>(MatrixSource<uint16_t>(source), sink, planes);
    } else {
        MatrixSink<float> sink(dst);
        Render<float>(MatrixSource<float>(source), sink, planes);
    }
}

void Htr::Analyze(const Matrix& src, HtrAnalysis& analysis) const
{
    if (src.channels != 3) {
        throw Exception(exceptionFormat, "Error in Htr::Analyze, src channels must be 3");
    }
    if (src.rows != analysis.analysisRows || src.cols != analysis.analysisCols) {
        throw Exception(exceptionArgument, "");
    }
    if (DepthOf(src.type) != D16U) {
        throw Exception(exceptionFormat, "Error in Htr::Analyze, src depth must be D16U");
    }
    WorkPlanes planes;
    AnalyzeStream(MatrixSource<uint16_t>(src), analysis, planes);
}

void Htr::Correct(const Matrix& src, Matrix& dst, const HtrAnalysis& analysis,
                  const BandRect& band) const
{
    if (src.channels != 3) {
        throw Exception(exceptionFormat, "Error in Htr::Correct, src channels must be 3");
    }
    EnsureBand(src.rows, src.cols, analysis, band);
    if (DepthOf(src.type) != D16U) {
        throw Exception(exceptionFormat, "Error in Htr::Correct, src depth must be D16U");
    }
    const Matrix source(src);
    WorkPlanes planes;
    dst.Ensure(source.rows, source.cols, source.type);
    MatrixSink<uint16_t> sink(dst);
    CorrectStream(MatrixSource<uint16_t>(source), sink, analysis, band, planes);
}

void Htr::Convert2WorkColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const
{
    ImageConverter::Convert(src, dst, *MakeWorkConverter(input, inputCode, chromaOffset));
}

void Htr::Convert2DstColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const
{
    ImageConverter::Convert(src, dst, *MakeDestinationConverter(output, outputCode, chromaOffset));
}

} // namespace lumo
