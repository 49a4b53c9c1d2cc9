#include "core/lookup.h"

#include "core/simd.h"

#include <cstring>

// Element by element, but several a turn: a turn costs a cycle however little it does.
#if defined(__GNUC__) && !defined(__clang__)
#define LUMO_SCALAR __attribute__((optimize("no-tree-vectorize", "no-tree-slp-vectorize")))
#define LUMO_UNROLL LUMO_PRAGMA(GCC unroll 8)
#else
#define LUMO_SCALAR
#define LUMO_UNROLL
#endif

namespace lumo {

LUMO_SCALAR void LookUpCodes(const uint16_t* table, const int32_t* index, int32_t count,
                             int32_t* out)
{
    LUMO_UNROLL
    for (int32_t i = 0; i < count; ++i) {
        out[i] = table[index[i]];
    }
}

LUMO_SCALAR void LookUpPixels(const uint16_t* table, const uint16_t* pixels, int32_t count,
                              int32_t* r, int32_t* g, int32_t* b)
{
    LUMO_UNROLL
    for (int32_t i = 0; i < count; ++i) {
        r[i] = table[pixels[3 * i]];
        g[i] = table[pixels[3 * i + 1]];
        b[i] = table[pixels[3 * i + 2]];
    }
}

LUMO_SCALAR void LookUpCodePairs(const uint16_t* table, const int32_t* index, int32_t count,
                                 uint32_t* pairs)
{
    LUMO_UNROLL
    for (int32_t i = 0; i < count; ++i) {
        std::memcpy(pairs + i, table + index[i], sizeof *pairs);
    }
}

LUMO_SCALAR void LookUpFloats(const float* table, const uint16_t* index, int32_t count, float* out)
{
    LUMO_UNROLL
    for (int32_t i = 0; i < count; ++i) {
        out[i] = table[index[i]];
    }
}

LUMO_SCALAR void LookUpFloats(const float* table, const uint16_t* index, int32_t count,
                              int64_t stride, float* out)
{
    LUMO_UNROLL
    for (int32_t i = 0; i < count; ++i) {
        out[i * stride] = table[index[i]];
    }
}

LUMO_SCALAR void LookUpPairs(const double* table, const int32_t* index, int32_t count,
                             double* pairs)
{
    using Pair = double __attribute__((vector_size(2 * sizeof(double))));
    LUMO_UNROLL
    for (int32_t i = 0; i < count; ++i) {
        Pair pair;
        std::memcpy(&pair, table + index[i], sizeof pair);
        std::memcpy(pairs + 2 * i, &pair, sizeof pair);
    }
}

} // namespace lumo
