#include "core/lookup.h"

#include <cstring>

#if defined(__GNUC__) && !defined(__clang__)
#define LUMO_SCALAR __attribute__((optimize("no-tree-vectorize", "no-tree-slp-vectorize")))
#else
#define LUMO_SCALAR
#endif

namespace lumo {

LUMO_SCALAR void LookUpCodes(const uint16_t* table, const int32_t* index, int32_t count,
                             int32_t* out)
{
    for (int32_t i = 0; i < count; ++i) {
        out[i] = table[index[i]];
    }
}

LUMO_SCALAR void LookUpCodePairs(const uint16_t* table, const int32_t* index, int32_t count,
                                 uint32_t* pairs)
{
    for (int32_t i = 0; i < count; ++i) {
        std::memcpy(pairs + i, table + index[i], sizeof *pairs);
    }
}

LUMO_SCALAR void LookUpFloats(const float* table, const uint16_t* index, int32_t count, float* out)
{
    for (int32_t i = 0; i < count; ++i) {
        out[i] = table[index[i]];
    }
}

LUMO_SCALAR void LookUpPairs(const double* table, const int32_t* index, int32_t count,
                             double* pairs)
{
    using Pair = double __attribute__((vector_size(2 * sizeof(double))));
    for (int32_t i = 0; i < count; ++i) {
        Pair pair;
        std::memcpy(&pair, table + index[i], sizeof pair);
        std::memcpy(pairs + 2 * i, &pair, sizeof pair);
    }
}

} // namespace lumo
