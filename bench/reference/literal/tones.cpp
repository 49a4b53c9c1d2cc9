#include "literal/tones.h"

#include "literal/pixels.h"
#include "segmentation/segments_info.h"
#include "tone/fast_object_adaptive_tone_mapping.h"
#include "tone/global_tone_mapping_operator_adaptive.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace lumo::literal {
namespace {

// 1 where the label is s.
Matrix MaskOf(const Matrix& labels, int32_t s)
{
    Matrix mask(labels.rows, labels.cols, D8U);
    for (int32_t y = 0; y < labels.rows; ++y) {
        for (int32_t x = 0; x < labels.cols; ++x) {
            RowOf<uint8_t>(mask, y)[x] = RowOf<int32_t>(labels, y)[x] == s ? 1 : 0;
        }
    }
    return mask;
}

// The output code of every input code 0 ... last.
std::vector<double> MakeCurve(const Matrix& small, const Matrix& mask, double ceil, int32_t last,
                              const Htr& htr)
{
    const CodeRange& in = htr.inputCode;
    const CodeRange& out = htr.outputCode;
    const double minSlope = (out.codeMax - out.codeMin) * 0.01 / (in.codeMax - in.codeMin);
    GlobalToneMappingOperatorAdaptive operation;
    operation.SetParameters(ceil, in.codeMin, out.codeMax, out.codeMin,
                            htr.params.luminanceThreshold, htr.params.toneKneeLuminance, 1024, 1.0,
                            minSlope);
    operation.MakeLUT(small, mask);
    std::vector<double> curve;
    for (int32_t v = 0; v <= last; ++v) {
        curve.push_back(operation.lut.Evaluate(v));
    }
    return curve;
}

Matrix MakeIntegral(const Matrix& mask)
{
    Matrix integral(mask.rows, mask.cols, D32F);
    for (int32_t y = 0; y < mask.rows; ++y) {
        auto* row = RowOf<float>(integral, y);
        const auto* above = RowOf<float>(integral, std::max(y - 1, 0));
        for (int32_t x = 0; x < mask.cols; ++x) {
            float sum = RowOf<uint8_t>(mask, y)[x];
            sum += y > 0 ? above[x] : 0.0f;
            sum += x > 0 ? row[x - 1] : 0.0f;
            sum -= y > 0 && x > 0 ? above[x - 1] : 0.0f;
            row[x] = sum;
        }
    }
    return integral;
}

// How much segment s has to say at every position: much where many of its pixels are near and the
// value there is like its mean.
Matrix MakeWeights(const Matrix& scaled, const Matrix& mask, const SegmentsInfo& info, int32_t s,
                   const FastObjectAdaptiveToneMapping& mapping)
{
    const auto r = static_cast<int32_t>(mapping.windowSize * 0.5);
    const int32_t corner[4][3] = {{-r, -r, 1}, {-r, r, -1}, {r, -r, -1}, {r, r, 1}};
    const int32_t lastX = mask.cols - 1, lastY = mask.rows - 1;
    const Matrix integral = MakeIntegral(mask);
    Matrix weights(mask.rows, mask.cols, D32F);
    std::fill_n(RowOf<float>(weights, 0), int64_t{mask.rows} * mask.cols, 0.0f);
    for (int32_t y = std::max(info.minY[s] - r, 0); y <= std::min(info.maxY[s] + r, lastY); ++y) {
        for (int32_t x = std::max(info.minX[s] - r, 0); x <= std::min(info.maxX[s] + r, lastX); ++x)
        {
            float count = 0.0f;
            for (const auto& [dx, dy, sign] : corner) {
                const int32_t cx = std::clamp(x + dx, 0, lastX), cy = std::clamp(y + dy, 0, lastY);
                count += static_cast<float>(sign) * RowOf<float>(integral, cy)[cx];
            }
            const double d = std::abs(RowOf<uint16_t>(scaled, y)[x] - info.mean[s]);
            const auto i = static_cast<uint64_t>(std::min(d, 65535.0));
            RowOf<float>(weights, y)[x] = count * static_cast<float>(mapping.weightTable[i]);
        }
    }
    return weights;
}

} // namespace

Matrix MapTones(const Matrix& base, const Htr& htr, const Matrix_t<int>& labels, int32_t n)
{
    const auto* codes = RowOf<uint16_t>(base, 0);
    const int32_t last = *std::max_element(codes, codes + int64_t{base.rows} * base.cols);
    const double ceil = std::max(static_cast<double>(last), htr.outputCode.codeMax);
    const Matrix small = Resize(base, labels.rows, labels.cols);
    const Matrix scaled = MultiplyCodes(small, 65535.0 / ceil);
    const FastObjectAdaptiveToneMapping mapping(htr.params.regionWindowSize,
                                                htr.params.regionWeightDecay);
    SegmentsInfo info;
    ImagSegments::GetSegmentsInfo<uint16_t>(scaled, labels, n, info);
    std::vector<std::vector<double>> curves;
    std::vector<Matrix> weights;
    for (int32_t s = 0; s < n; ++s) {
        const Matrix mask = MaskOf(labels, s);
        curves.push_back(MakeCurve(small, mask, ceil, last, htr));
        weights.push_back(MakeWeights(scaled, mask, info, s, mapping));
    }
    Matrix dst(base.rows, base.cols, D16U);
    const double scaleY = static_cast<double>(labels.rows) / base.rows;
    const double scaleX = static_cast<double>(labels.cols) / base.cols;
    for (int32_t y = 0; y < base.rows; ++y) {
        const int32_t sy = std::min(static_cast<int32_t>(y * scaleY), labels.rows - 1);
        for (int32_t x = 0; x < base.cols; ++x) {
            const int32_t sx = std::min(static_cast<int32_t>(x * scaleX), labels.cols - 1);
            double sum = 0.0, blended = 0.0;
            for (int32_t s = 0; s < n; ++s) {
                const auto w = static_cast<double>(RowOf<float>(weights[s], sy)[sx]);
                if (w > 1.1920929e-7) {
                    sum += w;
                    blended += w * curves[s][RowOf<uint16_t>(base, y)[x]];
                }
            }
            blended = sum > std::numeric_limits<double>::epsilon() ? blended / sum : blended;
            RowOf<uint16_t>(dst, y)[x] = Saturate<uint16_t>(blended);
        }
    }
    return dst;
}

} // namespace lumo::literal
