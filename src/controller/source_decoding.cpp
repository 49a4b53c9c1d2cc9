#include "controller/source_decoding.h"

#include "colorspace/pq.h"
#include "core/exception.h"
#include "core/linear_interpolation.h"
#include "core/parallel.h"
#include "core/power_curve.h"
#include "core/saturate.h"

#include <algorithm>
#include <utility>

namespace lumo {
namespace {

constexpr double codeSpan = 65535.0;

Vector<uint16_t> IdentityMap()
{
    Vector<uint16_t> map(codeCount);
    for (uint64_t code = 0; code < codeCount; ++code) {
        map[code] = static_cast<uint16_t>(code);
    }
    return map;
}

// Codes 0 ... 65535 stand for the signals of luminanceMin ... luminanceMax on a straight line,
// which the sampled curve extends to the whole signal range.
LinearInterpolationFast SamplePq(double luminanceMin, double luminanceMax)
{
    const double signal0 = PQ(luminanceMin);
    const double signal1 = PQ(luminanceMax);
    const double span = signal1 - signal0;
    const double codeAtFloor = 0.0 - (signal0 - pqFloor) * codeSpan / span;
    const double codeAtOne = codeSpan + (1.0 - signal1) * codeSpan / span;
    const double slope = pqFloorToOne / (codeAtOne - codeAtFloor);
    const double linear0 = EOTF(signal0);
    const double gain = codeSpan / (EOTF(signal1) - linear0);
    Vector<double> x(codeCount);
    Vector<double> y(codeCount, 0.0);
    ParallelFor(0, static_cast<int64_t>(codeCount),
                [&](int32_t i) { x[i] = i / codeSpan * (codeAtOne - codeAtFloor) + codeAtFloor; });
    // Only samples around the codes are ever read.
    const bool rises = x[0] < x[codeCount - 1];
    const auto below = std::upper_bound(x.data, x.data + codeCount, 0.0) - x.data - 2;
    const auto above = std::lower_bound(x.data, x.data + codeCount, codeSpan) - x.data + 2;
    const auto first = rises ? std::max<int64_t>(below, 0) : 0;
    const auto last = static_cast<int64_t>(codeCount);
    ParallelFor(first, rises ? std::min<int64_t>(above, last) : last, [&](int32_t i) {
        y[i] = (EOTF((x[i] - codeAtFloor) * slope + pqFloor) - linear0) * gain + 0.0;
    });
    LinearInterpolationFast curve;
    curve.Initialize(std::move(x), std::move(y));
    return curve;
}

Vector<uint16_t> PqMap(double luminanceMin, double luminanceMax)
{
    const LinearInterpolationFast curve = SamplePq(luminanceMin, luminanceMax);
    Vector<uint16_t> map(codeCount);
    for (uint64_t code = 0; code < codeCount; ++code) {
        map[code] = Saturate<uint16_t>(curve.Evaluate(static_cast<double>(code)));
    }
    return map;
}

} // namespace

ImageNormalization MakeNormalization(const QVA_SOURCE_ENCODING& encoding)
{
    const double scale = codeSpan / (static_cast<double>(encoding.codeMax) - encoding.codeMin);
    return {scale, static_cast<double>(encoding.codeMin), 0.0};
}

Vector<uint16_t> MakeLinearMap(uint32_t gammaType, double luminanceMin, double luminanceMax)
{
    switch (gammaType) {
    case QVA_GAMMA_LINEAR:
        return IdentityMap();
    case QVA_GAMMA_2_2:
        return DecodingMap();
    case QVA_GAMMA_PQ:
        return PqMap(luminanceMin, luminanceMax);
    default:
        throw Exception(exceptionArgument,
                        "Error in QvaController::Convert2Linear, gamma type is invalid");
    }
}

LinearSource::LinearSource(const Matrix& image, const QVA_SOURCE_ENCODING& encoding,
                           const ImageConverterInterface* correction)
    : image_(image), map_(codeCount), correction_(correction)
{
    const Vector<uint16_t> linear =
        MakeLinearMap(encoding.gammaType, static_cast<double>(encoding.luminanceMin),
                      static_cast<double>(encoding.luminanceMax));
    const ImageNormalization normalize = MakeNormalization(encoding);
    for (uint64_t code = 0; code < codeCount; ++code) {
        const auto value = static_cast<double>(code);
        double normalized = 0.0;
        normalize(&value, &normalized, 1);
        map_[code] = linear[Saturate<uint16_t>(normalized)];
    }
}

void LinearSource::Decode(int32_t row, int32_t col, int32_t count, CodeBlock& codes) const
{
    LoadMapped(map_.data, RowOf<uint16_t>(image_, row) + int64_t{3} * col, count, codes);
}

void LinearSource::Load(int32_t row, int32_t col, int32_t count, PixelBlock& block) const
{
    CodeBlock codes;
    Decode(row, col, count, codes);
    if (correction_ == nullptr) {
        FromCodes(codes, block);
        return;
    }
    correction_->ConvertCodes(codes, count, block);
    SaturateBlock<uint16_t>(block);
}

void LinearSource::LoadCodes(int32_t row, int32_t col, int32_t count, CodeBlock& codes) const
{
    Decode(row, col, count, codes);
    if (correction_ != nullptr) {
        PixelBlock block;
        correction_->ConvertCodes(codes, count, block);
        ToCodes(block, codes);
    }
}

} // namespace lumo
