// Maps the base plane with one tone curve a segment, blended without seams.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "tone/tone_blend.h"
#include "tone/tone_codes.h"

namespace lumo {

/// Where a band lies: a band of rows is placed by its first row, a band of columns by its first
/// column.
enum class BandDirection { rows, columns };

/// Rows and columns.
struct ImageSize {
    int32_t rows;
    int32_t cols;
};

/// Tone curves per segment from the segment's histogram, and weight maps that say at every position
/// how much each segment counts there: its pixels in a window around the position, damped by how
/// far the position's value lies from the segment's mean. Both at the size of the label image; the
/// blend at full size.
class FastObjectAdaptiveToneMapping {
public:
    /// @param width  window width in pixels of the label image; a negative one counts as 0.
    /// @param decay  of the similarity weight exp(-difference * decay / 65535).
    FastObjectAdaptiveToneMapping(double width, double decay);

    /// Curves, maps and blend of a whole image.
    /// @param src     D16U or D32F, one channel.
    /// @param dst     re-created in the shape of src; may be src.
    /// @param labels  D32S of any size, labels 0 ... n - 1.
    /// @throws Exception code 2 for another depth.
    void operator()(const Matrix& src, Matrix& dst, const ToneCodes& codes,
                    const Matrix_t<int>& labels, int32_t n) const;

    /// Curves and maps only.
    /// @param curves  n or more of 65,536 entries each; the first n are written.
    /// @param masks   replaced by n maps of the labels' size.
    /// @throws Exception code 2 for another depth.
    void operator()(const Matrix& src, const ToneCodes& codes, const Matrix_t<int>& labels,
                    int32_t n, VectorC<Vector<double>>& curves, VectorC<Matrix>& masks) const;

    /// Curves, maps and blend of a whole image of T.
    template <typename T>
    void ApplyToneMapping(const Matrix& src, Matrix& dst, const ToneCodes& codes,
                          const Matrix_t<int>& labels, int32_t n) const;

    /// Blends one band with stored curves and maps.
    /// @param src     D16U band; @param dst re-created in its shape; may be src.
    /// @param offset  first row or column of the band in the image.
    /// @throws Exception code 2, empty message, as MakeBandBlend.
    static void ApplyToneMapping(const Matrix& src, Matrix& dst, const ImageSize& image,
                                 const ImageSize& label, const VectorC<Vector<double>>& curves,
                                 const VectorC<Matrix>& masks, int32_t offset,
                                 BandDirection direction);

    /// The blend of a whole image of T, for a caller that runs it with other stages.
    template <typename T>
    ToneBlend MakeBlend(const Matrix& src, const ToneCodes& codes, const Matrix_t<int>& labels,
                        int32_t n) const;

    /// The blend of a band.
    /// @throws Exception code 2, empty message: an empty band, image or label size; a band that
    ///         leaves the image; no maps, fewer curves than maps, or maps of another size.
    static ToneBlend MakeBandBlend(const ImageSize& band, const ImageSize& image,
                                   const ImageSize& label, const VectorC<Vector<double>>& curves,
                                   const VectorC<Matrix>& masks, int32_t offset,
                                   BandDirection direction);

    /// Curves of all segments. @throws Exception code 2 for a depth other than D16U, D32F.
    void CalcToneMappingCurve(const Matrix& small, double ceil, const ToneCodes& codes,
                              const Matrix_t<int>& labels, int32_t n,
                              VectorC<Vector<double>>& curves) const;

    /// Weight maps of all segments. @throws Exception code 2 for a depth other than D16U, D32F.
    void MakeCrossRegionConsistencyMask(const Matrix& small, double ceil,
                                        const Matrix_t<int>& labels, int32_t n,
                                        VectorC<Matrix>& masks) const;

    /// The tone operators of all segments, built from the segments' histograms.
    /// @throws Exception code 2 if labels has not one channel.
    static VectorC<GlobalToneMappingOperatorAdaptive> MakeOperators(const Matrix& small,
                                                                    double ceil,
                                                                    const ToneCodes& codes,
                                                                    const Matrix_t<int>& labels,
                                                                    int32_t n);

    /// 65,536 entries: entry i = exp(-i * decay / 65535).
    Vector<double> weightTable;
    double windowSize;
};

} // namespace lumo
