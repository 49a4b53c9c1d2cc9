#include "print/dpg_stage.h"

#include "colorspace/pq.h"
#include "core/block_loop.h"
#include "core/channel_curve.h"
#include "core/exception.h"
#include "core/power_curve.h"
#include "core/saturate.h"
#include "smoothing/fast_wls_filter.h"
#include "smoothing/wls_solver.h"

#include <cmath>

namespace lumo {
namespace {

using kernels::rowLanes;

bool IsUsual(const LuminanceRange& range)
{
    return range.valueMax == 65535.0 && range.valueMin == 0.0 && range.lumiMax == 100.0 &&
           range.lumiMin == 0.0 && range.colorSpace == BT2020RGB;
}

double ChromaOffset(const Dpg& dpg)
{
    return dpg.work.valueMax * 0.5;
}

std::shared_ptr<const DpgTables> TablesOf(const Dpg& dpg)
{
    if (IsUsual(dpg.input) && IsUsual(dpg.output)) {
        return DpgTables::Usual();
    }
    return std::make_shared<const DpgTables>(dpg.input, dpg.output, dpg.work, ChromaOffset(dpg));
}

template <typename T>
int32_t DepthOfElement()
{
    return std::is_same_v<T, float> ? D32F : D16U;
}

} // namespace

namespace kernels {

// The image's own detail counts twice, and the print's is taken off: what paper swallows comes
// back.
LUMO_CLONES void CombineCodes(const uint16_t* i, const uint16_t* b1, const uint16_t* p,
                              const uint16_t* b2, double* r)
{
    LUMO_SIMD
    for (int32_t k = 0; k < blockSize; ++k) {
        const double base = b1[k];
        const double detail = i[k] - base;
        const double kept = static_cast<double>(p[k]) - b2[k];
        r[k] = base + (2.0 * detail - kept);
    }
}

} // namespace kernels

PowerCurveTable DpgCurve(const LuminanceRange& input, const LuminanceRange& work,
                         PowerCurve direction)
{
    const PowerCurveTable& usual = UsualPowerCurve(direction);
    PowerCurveTable curve;
    curve.inputMax = input.valueMax;
    curve.inputMin = input.valueMin;
    curve.outputScale = work.valueMax;
    curve.outputOffset = work.valueMin;
    curve.exponent = usual.exponent;
    if (curve.inputMax == usual.inputMax && curve.inputMin == usual.inputMin &&
        curve.outputScale == usual.outputScale && curve.outputOffset == usual.outputOffset)
    {
        return usual;
    }
    curve.Build();
    return curve;
}

DpgTables::DpgTables(const LuminanceRange& input, const LuminanceRange& output,
                     const LuminanceRange& work, double chromaOffset)
    : decoding(DpgCurve(input, work, PowerCurve::decoding)),
      encoding(DpgCurve(input, work, PowerCurve::encoding)),
      toWork(input.valueMax, input.valueMin, input.lumiMax, input.lumiMin, work.valueMax,
             work.valueMin, chromaOffset, input.colorSpace),
      predicted(1.0, 0.0, work.lumiMax, work.lumiMin, work.valueMax, work.valueMin, chromaOffset,
                XYZ),
      fromWork(work.valueMax, work.valueMin, PQ(work.lumiMax), PQ(work.lumiMin), output.valueMax,
               output.valueMin, -chromaOffset, output.colorSpace)
{
    decodingMap = MakePowerCurveMap(decoding);
    encodingMap = MakePowerCurveMap(encoding);
}

std::shared_ptr<const DpgTables> DpgTables::Usual()
{
    static const auto usual = [] {
        const LuminanceRange encoded = {65535.0, 100.0, 0.0, 0.0, BT2020RGB};
        const LuminanceRange work = {65535.0, 100.0, 0.0, 0.0, ICtCp};
        return std::make_shared<const DpgTables>(encoded, encoded, work, work.valueMax * 0.5);
    }();
    return usual;
}

template <typename T>
DpgStage<T>::DpgStage(const Dpg& dpg, int32_t rows, int32_t cols, WorkPlanes& planes)
    : dpg_(dpg), planes_(planes), rows_(rows), cols_(cols)
{
    if (dpg.params.workColorSpace != ICtCp) {
        throw Exception(exceptionArgument, "Error in Dpg::Convert2WorkColorSpace, work color space "
                                           "must be ICtCp");
    }
    tables_ = TablesOf(dpg);
    const int32_t type = MakeType(DepthOfElement<T>(), 1);
    planes.intensity.Ensure(rows, cols, type);
    planes.chroma1.Ensure(rows, cols, type);
    planes.chroma2.Ensure(rows, cols, type);
    planes.second.Ensure(rows, cols, type);
}

template <typename T>
void DpgStage<T>::StorePredicted(int32_t row, int32_t col, int32_t count, const PixelBlock& printed)
{
    double intensity[blockSize];
    tables_->predicted.IntensityBlock(printed, intensity);
    StorePlane(intensity, count, RowOf<T>(planes_.second, row) + col);
}

template <typename T>
void DpgStage<T>::StoreWork(int32_t row, int32_t col, int32_t count, PixelBlock& linear)
{
    tables_->toWork.ConvertBlock(linear, count, 3);
    StorePlane(linear.channel[0], count, RowOf<T>(planes_.intensity, row) + col);
    StorePlane(linear.channel[1], count, RowOf<T>(planes_.chroma1, row) + col);
    StorePlane(linear.channel[2], count, RowOf<T>(planes_.chroma2, row) + col);
}

template <typename T>
void DpgStage<T>::Store(int32_t row, int32_t col, int32_t count, PixelBlock& block)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        CodeBlock codes;
        ToCodes(block, codes);
        StoreCodes(row, col, count, codes, block);
    } else {
        SaturateBlock<T>(block);
        PixelBlock printed = block;
        dpg_.params.printLut.object->ConvertBlock(printed, count, 3);
        StorePredicted(row, col, count, printed);
        ChannelCurve(tables_->decoding.table).ConvertBlock(block, count, 3);
        SaturateBlock<T>(block);
        StoreWork(row, col, count, block);
    }
}

template <typename T>
void DpgStage<T>::StoreCodes(int32_t row, int32_t col, int32_t count, CodeBlock& codes,
                             PixelBlock& scratch)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        dpg_.params.printLut.object->ConvertCodes(codes, count, scratch);
        StorePredicted(row, col, count, scratch);
        MapCodes(tables_->decodingMap.data, codes, codes);
        FromCodes(codes, scratch);
        StoreWork(row, col, count, scratch);
    } else {
        PixelSink::StoreCodes(row, col, count, codes, scratch);
    }
}

template <typename T>
void DpgStage<T>::Send(int32_t row, int32_t col, int32_t count, PixelBlock& block,
                       PixelSink& sink) const
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        CodeBlock codes;
        ToCodes(block, codes);
        MapCodes(tables_->encodingMap.data, codes, codes);
        sink.StoreCodes(row, col, count, codes, block);
    } else {
        SaturateBlock<T>(block);
        ChannelCurve(tables_->encoding.table).ConvertBlock(block, count, 3);
        sink.Store(row, col, count, block);
    }
}

// Takes the smoothed rows of the image and of its print.
template <typename T>
class DpgStage<T>::SmoothedRows : public WlsRows<T> {
public:
    SmoothedRows(const DpgStage& stage, PixelSink& sink) : stage_(stage), sink_(sink) {}
    void Take(int32_t first, int32_t count, const T* const (*rows)[rowLanes]) override
    {
        for (int32_t lane = 0; lane < count; ++lane) {
            stage_.DrainRow(first + lane, rows[0][lane], rows[1][lane], sink_);
        }
    }

private:
    const DpgStage& stage_;
    PixelSink& sink_;
};

template <typename T>
void DpgStage<T>::Drain(PixelSink& sink)
{
    const FastWlsFilter filter(dpg_.params.wlsSigma, dpg_.params.wlsLambda);
    const WlsSolver<T> solver(filter.weights_, filter.lambda_);
    SmoothedRows smoothed(*this, sink);
    solver.Smooth({{&planes_.intensity, &planes_.second}, 2},
                  {planes_.intensity, 255.0 / dpg_.work.valueMax}, smoothed);
}

template <typename T>
void DpgStage<T>::DrainRow(int32_t row, const T* base, const T* printBase, PixelSink& sink) const
{
    PixelBlock block;
    ForEachBlock(cols_, [&](int32_t col, int32_t count) {
        CombineBlock(RowOf<T>(planes_.intensity, row) + col, base + col,
                     RowOf<T>(planes_.second, row) + col, printBase + col, count, block.channel[0]);
        LoadPlane(RowOf<T>(planes_.chroma1, row) + col, count, block.channel[1]);
        LoadPlane(RowOf<T>(planes_.chroma2, row) + col, count, block.channel[2]);
        SaturateBlock<T>(block);
        tables_->fromWork.ConvertBlock(block, count, 3);
        Send(row, col, count, block, sink);
    });
}

// Detail that would reach below half a percent of the range has nowhere to go. Those pixels are set
// anew, by an exponential of the image's detail, which is dark but never 0.
template <typename T>
void DpgStage<T>::CombineBlock(const T* i, const T* b1, const T* p, const T* b2, int32_t count,
                               double* r) const
{
    const double range = dpg_.work.valueMax - dpg_.work.valueMin;
    const double toe = range * 0.005;
    const double toeSlope = 1.0 / (range * 0.01);
    const double lowest = dpg_.work.valueMin;
    bool vectorised = false;
    if constexpr (std::is_same_v<T, uint16_t>) {
        vectorised = count == blockSize;
        if (vectorised) {
            kernels::CombineCodes(i, b1, p, b2, r);
        }
    }
    for (int32_t k = 0; k < count; ++k) {
        const auto base = static_cast<double>(b1[k]);
        const double detail = static_cast<double>(i[k]) - base;
        if (!vectorised) {
            const double kept = static_cast<double>(p[k]) - static_cast<double>(b2[k]);
            r[k] = base + (2.0 * detail - kept);
        }
        if (base > lowest && r[k] < lowest + toe) {
            r[k] = lowest + toe * std::exp(detail * toeSlope);
        }
    }
}

template class DpgStage<uint16_t>;
template class DpgStage<float>;

} // namespace lumo
