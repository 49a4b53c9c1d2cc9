// No export reaches what stands here: the device step over whole images. A print runs DpgStage.
#include "colorspace/pq.h"
#include "core/block_loop.h"
#include "core/exception.h"
#include "core/power_curve.h"
#include "core/saturate.h"
#include "print/dpg_stage.h"

namespace lumo {
namespace {

// A 16-bit image goes through the map of the curve, a float one through the sampled curve itself.
void ApplyCurve(const Matrix& src, Matrix& dst, const PowerCurveTable& curve)
{
    if (DepthOf(src.type) == D16U) {
        ApplyCodeMap(src, dst, MakePowerCurveMap(curve).data);
        return;
    }
    if (DepthOf(src.type) != D32F) {
        throw Exception(exceptionFormat, "Error in Dpg::operator(), input depth must be 16U/32F");
    }
    const Matrix source(src);
    dst.Ensure(source.rows, source.cols, source.type);
    ParallelFor(0, source.rows, [&](int32_t row) {
        const auto* in = RowOf<float>(source, row);
        auto* out = RowOf<float>(dst, row);
        for (int64_t i = 0; i < RowLength(source); ++i) {
            out[i] = Saturate<float>(curve.table.Evaluate(static_cast<double>(in[i])));
        }
    });
}

} // namespace

void Dpg::operator()(const Matrix& src, Matrix& dst) const
{
    if (src.channels != 3) {
        throw Exception(exceptionFormat, "Error in Dpg(), input channel must be3");
    }
    switch (DepthOf(src.type)) {
    case D16U:
        return Run<uint16_t>(src, dst);
    case D32F:
        return Run<float>(src, dst);
    default:
        throw Exception(exceptionFormat, "Error in Dpg::operator(), input depth must be 16U/32F");
    }
}

template <typename T>
void Dpg::Run(const Matrix& src, Matrix& dst) const
{
    const Matrix source(src);
    WorkPlanes planes;
    DpgStage<T> stage(*this, source.rows, source.cols, planes);
    const MatrixSource<T> pixels(source);
    ForEachBlock(0, source.rows, source.cols,
                 [&](int32_t row, int32_t col, int32_t count, PixelBlock& block) {
                     pixels.Load(row, col, count, block);
                     stage.Store(row, col, count, block);
                 });
    dst.Ensure(source.rows, source.cols, source.type);
    MatrixSink<T> sink(dst);
    stage.Drain(sink);
}

void Dpg::Convert2WorkColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const
{
    Matrix linear;
    ApplyCurve(src, linear, DpgCurve(input, work, PowerCurve::decoding));
    if (params.workColorSpace != ICtCp) {
        throw Exception(exceptionArgument, "Error in Dpg::Convert2WorkColorSpace, work color space "
                                           "must be ICtCp");
    }
    ImageConverter::Convert(linear, dst,
                            ConvertxRGB2ICtCp(input.valueMax, input.valueMin, input.lumiMax,
                                              input.lumiMin, work.valueMax, work.valueMin,
                                              chromaOffset, input.colorSpace));
}

void Dpg::Convert2DstColorSpace(const Matrix& src, Matrix& dst, double chromaOffset) const
{
    if (params.workColorSpace != ICtCp) {
        throw Exception(exceptionArgument, "Error in Dpg::Convert2DstColorSpace, work color space "
                                           "must be ICtCp");
    }
    ImageConverter::Convert(src, dst,
                            ConvertICtCp2xRGB(work.valueMax, work.valueMin, PQ(work.lumiMax),
                                              PQ(work.lumiMin), output.valueMax, output.valueMin,
                                              -chromaOffset, output.colorSpace));
    ApplyCurve(dst, dst, DpgCurve(input, work, PowerCurve::encoding));
}

} // namespace lumo
