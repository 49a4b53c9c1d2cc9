// No export reaches what stands here: tone mapping as a pass of its own. Renderings and corrections
// take the blend into a pass with other stages.
#include "core/block_loop.h"
#include "core/exception.h"
#include "tone/fast_object_adaptive_tone_mapping.h"

#include <type_traits>

namespace lumo {
namespace {

constexpr const char* applyMessage =
    "Error in FastObjectAdaptiveToneMapping::ApplyToneMapping, data depth must be D16U";

void Require(bool condition, const char* message)
{
    if (!condition) {
        throw Exception(exceptionFormat, message);
    }
}

template <typename T>
void BlendRows(const ToneBlend& blend, const Matrix& src, Matrix& dst)
{
    ForEachBlockWith(
        0, src.rows, src.cols, [&] { return ToneBlend::Row(blend); },
        [&](int32_t y, int32_t x, int32_t count, ToneBlend::Row& row) {
            double blended[blockSize];
            blend.Blend(RowOf<T>(src, y) + x, y, x, count, row, blended);
            StorePlane(blended, count, RowOf<T>(dst, y) + x);
        });
}

} // namespace

void FastObjectAdaptiveToneMapping::operator()(const Matrix& src, Matrix& dst,
                                               const ToneCodes& codes, const Matrix_t<int>& labels,
                                               int32_t n) const
{
    const int32_t depth = DepthOf(src.type);
    Require(depth == D16U || depth == D32F,
            "Error in FastObjectAdaptiveToneMapping::operator(), data depth must "
            "be D16U/D32F");
    if (depth == D16U) {
        ApplyToneMapping<uint16_t>(src, dst, codes, labels, n);
    } else {
        ApplyToneMapping<float>(src, dst, codes, labels, n);
    }
}

template <typename T>
void FastObjectAdaptiveToneMapping::ApplyToneMapping(const Matrix& src, Matrix& dst,
                                                     const ToneCodes& codes,
                                                     const Matrix_t<int>& labels, int32_t n) const
{
    const Matrix source(src);
    Require(DepthOf(source.type) == (std::is_same_v<T, float> ? D32F : D16U), applyMessage);
    const ToneBlend blend = MakeBlend<T>(source, codes, labels, n);
    dst.Create(source.rows, source.cols, source.type);
    BlendRows<T>(blend, source, dst);
}

void FastObjectAdaptiveToneMapping::ApplyToneMapping(const Matrix& src, Matrix& dst,
                                                     const ImageSize& image, const ImageSize& label,
                                                     const VectorC<Vector<double>>& curves,
                                                     const VectorC<Matrix>& masks, int32_t offset,
                                                     BandDirection direction)
{
    Require(DepthOf(src.type) == D16U, applyMessage);
    const Matrix source(src);
    const ToneBlend blend =
        MakeBandBlend({source.rows, source.cols}, image, label, curves, masks, offset, direction);
    dst.Create(source.rows, source.cols, source.type);
    BlendRows<uint16_t>(blend, source, dst);
}

template void FastObjectAdaptiveToneMapping::ApplyToneMapping<uint16_t>(const Matrix&, Matrix&,
                                                                        const ToneCodes&,
                                                                        const Matrix_t<int>&,
                                                                        int32_t) const;
template void FastObjectAdaptiveToneMapping::ApplyToneMapping<float>(const Matrix&, Matrix&,
                                                                     const ToneCodes&,
                                                                     const Matrix_t<int>&,
                                                                     int32_t) const;

} // namespace lumo
