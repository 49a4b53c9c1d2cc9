#include "smoothing/wls_kernels.h"

#include "core/saturate.h"
#include "core/simd.h"

#include <cstring>

namespace lumo::kernels {
namespace {

// Eight lanes as one value, the widest that stays in a register without AVX-512.
using Half = float __attribute__((vector_size(8 * sizeof(float))));
constexpr int halves = rowLanes / 8;
using Quad = float __attribute__((vector_size(4 * sizeof(float))));

LUMO_INLINE Half LoadHalf(const float* p)
{
    Half v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
LUMO_INLINE void StoreHalf(const Half& v, float* p)
{
    std::memcpy(p, &v, sizeof v);
}
LUMO_INLINE Quad LoadQuad(const float* p)
{
    Quad v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
LUMO_INLINE void StoreQuad(Quad v, float* p)
{
    std::memcpy(p, &v, sizeof v);
}

// Four rows of four values become their columns.
LUMO_INLINE void Transpose(Quad& a, Quad& b, Quad& c, Quad& d)
{
    const Quad ab = __builtin_shufflevector(a, b, 0, 4, 1, 5);
    const Quad cd = __builtin_shufflevector(c, d, 0, 4, 1, 5);
    const Quad abHigh = __builtin_shufflevector(a, b, 2, 6, 3, 7);
    const Quad cdHigh = __builtin_shufflevector(c, d, 2, 6, 3, 7);
    a = __builtin_shufflevector(ab, cd, 0, 1, 4, 5);
    b = __builtin_shufflevector(ab, cd, 2, 3, 6, 7);
    c = __builtin_shufflevector(abHigh, cdHigh, 0, 1, 4, 5);
    d = __builtin_shufflevector(abHigh, cdHigh, 2, 3, 6, 7);
}

// What a step carries to the next stays in registers: through memory it would wait for the store.
template <int planes>
LUMO_INLINE void SolvePlanes(int32_t length, float* edge, float* const* x)
{
    const Half one = Half{} + 1.0f;
    // Position i uses e of the step to i (lower) and of the step from i (the next entry).
    Half lower[halves], upper[halves], carried[planes][halves];
    for (int h = 0; h < halves; ++h) {
        lower[h] = length > 1 ? LoadHalf(edge + rowLanes + 8 * h) : Half{};
        upper[h] = lower[h] / (one - lower[h]);
        for (int plane = 0; plane < planes; ++plane) {
            carried[plane][h] = LoadHalf(x[plane] + 8 * h) / (one - lower[h]);
            StoreHalf(carried[plane][h], x[plane] + 8 * h);
        }
        StoreHalf(upper[h], edge + 8 * h);
    }
    for (int32_t i = 1; i < length; ++i) {
        for (int h = 0; h < halves; ++h) {
            const int64_t at = static_cast<int64_t>(i) * rowLanes + 8 * h;
            const Half next = i + 1 < length ? LoadHalf(edge + at + rowLanes) : Half{};
            const Half diagonal = one - lower[h] - next;
            const Half m = one / (diagonal - upper[h] * lower[h]);
            upper[h] = next * m;
            for (int plane = 0; plane < planes; ++plane) {
                carried[plane][h] = (LoadHalf(x[plane] + at) - lower[h] * carried[plane][h]) * m;
                StoreHalf(carried[plane][h], x[plane] + at);
            }
            StoreHalf(upper[h], edge + at);
            lower[h] = next;
        }
    }
    for (int32_t i = length - 2; i >= 0; --i) {
        for (int h = 0; h < halves; ++h) {
            const int64_t at = static_cast<int64_t>(i) * rowLanes + 8 * h;
            const Half factor = LoadHalf(edge + at);
            for (int plane = 0; plane < planes; ++plane) {
                carried[plane][h] = LoadHalf(x[plane] + at) - factor * carried[plane][h];
                StoreHalf(carried[plane][h], x[plane] + at);
            }
        }
    }
}

template <int planes>
LUMO_INLINE void EliminatePlanes(const ColumnStep& step)
{
    const float* lower = step.lower;
    const float* edge = step.edge;
    const float* upperBefore = step.upperBefore;
    const float* before0 = step.before[0];
    const float* before1 = step.before[planes - 1];
    float* upper = step.upper;
    float* x0 = step.x[0];
    float* x1 = step.x[planes - 1];
    LUMO_SIMD
    for (int32_t j = 0; j < columnLanes; ++j) {
        const float diagonal = 1.0f - lower[j] - edge[j];
        const float m = 1.0f / (diagonal - upperBefore[j] * lower[j]);
        upper[j] = edge[j] * m;
        x0[j] = (x0[j] - lower[j] * before0[j]) * m;
        if constexpr (planes == 2) {
            x1[j] = (x1[j] - lower[j] * before1[j]) * m;
        }
    }
}

} // namespace

LUMO_CLONES void ScaleCodes(const uint16_t* code, int32_t count, double scale, uint16_t* guide)
{
    if (scale == 255.0 / 65535.0) {
        // v / 257 in integers, which is the same for every code: 65281 * 257 = 2^24 + 1. The upper
        // half of a 16-bit product is one instruction, so the shift by 24 is made of two.
        LUMO_SIMD
        for (int32_t i = 0; i < count; ++i) {
            const auto high = static_cast<uint16_t>((code[i] * 65281u) >> 16);
            guide[i] = static_cast<uint16_t>(high >> 8);
        }
        return;
    }
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        guide[i] = Saturate<uint16_t>(code[i] * scale);
    }
}

LUMO_CLONES void Differences(const uint16_t* a, const uint16_t* b, int32_t count,
                             uint16_t* difference)
{
    constexpr uint16_t last = codeDifferences - 1;
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        const auto high = a[i] > b[i] ? a[i] : b[i];
        const auto low = a[i] > b[i] ? b[i] : a[i];
        const auto step = static_cast<uint16_t>(high - low);
        difference[i] = step < last ? step : last;
    }
}

LUMO_CLONES void EdgesOfFloats(const float* a, const float* b, int32_t count, const float* weights,
                               int32_t lastWeight, float lambda, float* edge)
{
    const auto end = static_cast<float>(lastWeight);
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        float distance = (a[i] - b[i]) * (a[i] - b[i]);
        distance = distance > 0.0f ? distance : 0.0f;
        distance = distance < end ? distance : end;
        edge[i] = -(lambda * weights[static_cast<int32_t>(distance)]);
    }
}

LUMO_CLONES void EliminateFirst(const ColumnStep& step)
{
    const float* edge = step.edge;
    float* upper = step.upper;
    for (int32_t plane = 0; plane < step.planes; ++plane) {
        float* x = step.x[plane];
        LUMO_SIMD
        for (int32_t j = 0; j < columnLanes; ++j) {
            x[j] = x[j] / (1.0f - edge[j]);
        }
    }
    LUMO_SIMD
    for (int32_t j = 0; j < columnLanes; ++j) {
        upper[j] = edge[j] / (1.0f - edge[j]);
    }
}

LUMO_CLONES void EliminateNext(const ColumnStep& step)
{
    if (step.planes == 1) {
        EliminatePlanes<1>(step);
    } else {
        EliminatePlanes<2>(step);
    }
}

LUMO_CLONES void Substitute(const float* below, const float* upper, float* x)
{
    LUMO_SIMD
    for (int32_t j = 0; j < columnLanes; ++j) {
        x[j] = x[j] - upper[j] * below[j];
    }
}

LUMO_CLONES void SolveRows(int32_t length, int32_t planes, float* edge, float* const* x)
{
    if (planes == 1) {
        SolvePlanes<1>(length, edge, x);
    } else {
        SolvePlanes<2>(length, edge, x);
    }
}

LUMO_CLONES void GatherRows(const float* const* rows, int32_t length, float* out)
{
    int32_t i = 0;
    for (; i + 4 <= length; i += 4) {
        for (int32_t lane = 0; lane < rowLanes; lane += 4) {
            Quad a = LoadQuad(rows[lane] + i);
            Quad b = LoadQuad(rows[lane + 1] + i);
            Quad c = LoadQuad(rows[lane + 2] + i);
            Quad d = LoadQuad(rows[lane + 3] + i);
            Transpose(a, b, c, d);
            float* to = out + static_cast<int64_t>(i) * rowLanes + lane;
            StoreQuad(a, to);
            StoreQuad(b, to + rowLanes);
            StoreQuad(c, to + 2 * rowLanes);
            StoreQuad(d, to + 3 * rowLanes);
        }
    }
    for (; i < length; ++i) {
        for (int32_t lane = 0; lane < rowLanes; ++lane) {
            out[static_cast<int64_t>(i) * rowLanes + lane] = rows[lane][i];
        }
    }
}

LUMO_CLONES void ScatterRows(const float* in, int32_t length, float* const* rows)
{
    int32_t i = 0;
    for (; i + 4 <= length; i += 4) {
        for (int32_t lane = 0; lane < rowLanes; lane += 4) {
            const float* from = in + static_cast<int64_t>(i) * rowLanes + lane;
            Quad a = LoadQuad(from);
            Quad b = LoadQuad(from + rowLanes);
            Quad c = LoadQuad(from + 2 * rowLanes);
            Quad d = LoadQuad(from + 3 * rowLanes);
            Transpose(a, b, c, d);
            StoreQuad(a, rows[lane] + i);
            StoreQuad(b, rows[lane + 1] + i);
            StoreQuad(c, rows[lane + 2] + i);
            StoreQuad(d, rows[lane + 3] + i);
        }
    }
    for (; i < length; ++i) {
        for (int32_t lane = 0; lane < rowLanes; ++lane) {
            rows[lane][i] = in[static_cast<int64_t>(i) * rowLanes + lane];
        }
    }
}

} // namespace lumo::kernels
