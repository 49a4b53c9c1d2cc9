#include "core/matrix_converter.h"

#include "core/exception.h"
#include "core/parallel.h"
#include "core/saturate.h"

namespace lumo {
namespace {

template <typename From, typename To>
void ConvertRows(const Matrix& src, Matrix& dst)
{
    const int64_t count = RowLength(src);
    ParallelFor(src.roi.y, static_cast<int64_t>(src.roi.y) + src.roi.height, [&](int32_t row) {
        const From* in = RowOf<From>(src, row);
        To* out = RowOf<To>(dst, row);
        for (int64_t i = 0; i < count; ++i) {
            out[i] = Saturate<To>(static_cast<double>(in[i]));
        }
    });
}

using Routine = void (*)(const Matrix&, Matrix&);

#define LUMO_FROM(From)                                                                            \
    {                                                                                              \
        ConvertRows<From, uint8_t>, ConvertRows<From, int8_t>, ConvertRows<From, uint16_t>,        \
            ConvertRows<From, int16_t>, ConvertRows<From, int32_t>, ConvertRows<From, float>,      \
            ConvertRows<From, double>                                                              \
    }
constexpr Routine routines[7][7] = {LUMO_FROM(uint8_t), LUMO_FROM(int8_t),  LUMO_FROM(uint16_t),
                                    LUMO_FROM(int16_t), LUMO_FROM(int32_t), LUMO_FROM(float),
                                    LUMO_FROM(double)};
#undef LUMO_FROM

} // namespace

void MatrixConverter::operator()(const Matrix& src, Matrix& dst, int32_t type) const
{
    const Matrix source(src);
    dst.Ensure(source.rows, source.cols, type);
    if (source.type == type && source.data != nullptr) {
        source.CopyTo(dst);
        return;
    }
    if (DepthOf(source.type) > D64F || DepthOf(type) > D64F) {
        throw Exception(
            exceptionFormat,
            "Error in MatrixConverter::operator(), data depth must be fundamental type");
    }
    if (source.type == type) {
        source.CopyTo(dst);
        return;
    }
    routines[DepthOf(source.type)][DepthOf(type)](source, dst);
}

} // namespace lumo
