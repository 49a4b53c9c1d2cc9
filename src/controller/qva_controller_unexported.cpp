// No export reaches what stands here: stages of a rendering, each over a whole image.
#include "controller/qva_controller.h"
#include "controller/source_decoding.h"
#include "core/parallel.h"

#include <algorithm>

namespace lumo {

void QvaController::RenderTone(const Matrix& src, Matrix& dst, const QVA_SOURCE_ENCODING& encoding,
                               const LuminanceRangePair& ranges) const
{
    if (src.channels != 3) {
        throw Exception(exceptionFormat, "Error in Htr::operator(), src channels must be 3");
    }
    if (DepthOf(src.type) != D16U) {
        throw Exception(exceptionFormat, "Error in Htr::operator(), src depth must be D16U/D32F");
    }
    const Matrix source(src);
    WorkPlanes planes;
    dst.Ensure(source.rows, source.cols, rgb16Type);
    MatrixSink<uint16_t> sink(dst);
    Render(source, sink, encoding, ranges, planes, nullptr);
}

void QvaController::Convert2Linear(const Matrix& src, Matrix& dst, uint32_t gammaType,
                                   double luminanceMin, double luminanceMax)
{
    const Vector<uint16_t> map = MakeLinearMap(gammaType, luminanceMin, luminanceMax);
    if (gammaType == QVA_GAMMA_LINEAR) {
        dst = src;
        return;
    }
    ApplyCodeMap(src, dst, map.data);
}

void QvaController::ApplyDpg(const Matrix& src, Matrix& dst, const LuminanceRangePair& ranges,
                             const Tintrix& transform) const
{
    const Dpg dpg(DpgRanges(ranges), PrepareDpgParameters(PixelCount(src), transform));
    dpg(src, dst);
}

void WriteDestination(const Matrix& image, const QVA_IMAGE& dst)
{
    const int64_t samples = RowLength(image);
    auto* pixels = static_cast<uint16_t*>(dst.pixels);
    ParallelFor(image.roi.y, static_cast<int64_t>(image.roi.y) + image.roi.height,
                [&](int32_t row) {
                    const auto* in = RowOf<uint16_t>(image, row);
                    std::copy(in, in + samples,
                              pixels + static_cast<uint64_t>(row) * dst.width * dst.channels);
                });
}

} // namespace lumo
