#include "controller/qva_controller.h"

#include "controller/process_tables.h"
#include "core/allocation.h"
#include "core/debug_stream.h"
#include "core/exception.h"
#include "core/pixel_block.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lumo {
namespace {

constexpr double referencePixels = 30105600.0; // 6720 × 4480

float SizeFactor(int64_t pixelCount)
{
    return static_cast<float>(std::sqrt(static_cast<double>(pixelCount) / referencePixels));
}

} // namespace

QvaController::QvaController() : outputCurve(UsualPowerCurve(PowerCurve::encoding))
{
    PrepareProcessTables();
    SilenceLibraryOutput();
}

HtrParameters QvaController::ParametersFor(int64_t pixelCount,
                                           const LuminanceRangePair& ranges) const
{
    HtrParameters params = htrParameters;
    params.wlsLambda *= SizeFactor(pixelCount);
    params.luminanceThreshold =
        std::min(std::max(params.luminanceThreshold, ranges.input.lumiMin), ranges.input.lumiMax);
    return params;
}

DpgParameters QvaController::PrepareDpgParameters(int64_t pixelCount,
                                                  const Tintrix& transform) const
{
    DpgParameters params = dpgParameters;
    params.wlsLambda = SizeFactor(pixelCount) * params.wlsLambda;
    const Lut3D sampled(transform, 65535.0);
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    params.printLut = SharedObject<Lut3D>(new Lut3D(sampled));
    return params;
}

LuminanceRangePair DpgRanges(const LuminanceRangePair& ranges)
{
    LuminanceRange range = ranges.output;
    range.lumiMax = 100.0;
    range.lumiMin = 0.0;
    return {range, range};
}

Matrix WrapImage(const QVA_IMAGE& image)
{
    // The first position behind the last block of a row must be an integer too.
    constexpr uint32_t sideLimit = std::numeric_limits<int32_t>::max() - blockSize;
    if (image.width > sideLimit || image.height > sideLimit) {
        throw Exception(exceptionSize, "Error in EnsureDataSize, data size is too large.");
    }
    return Matrix(static_cast<int32_t>(image.height), static_cast<int32_t>(image.width),
                  image.stride / 2, image.pixels);
}

} // namespace lumo
