// Every segment's own tone curve, and between segments a gradual change from one to the other.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "tone/tone_blend.h"
#include "tone/tone_codes.h"

namespace lumo {

/// Whether a band is some rows of its image, from an offset down, or some columns, from one to the
/// right.
enum class BandDirection { rows, columns };

/// Rows and columns.
struct ImageSize {
    int32_t rows;
    int32_t cols;
};

/// Compresses the base plane. The light of each segment decides its curve; a pixel is mapped by the
/// curves of all segments around it and takes the mean of the results, weighted as WeightMaps says.
/// Curves and weights come from a copy of the plane at the labels' size and are spread over the
/// whole plane as it is mapped: at once, or band by band later on.
class FastObjectAdaptiveToneMapping {
public:
    /// @param width  side of the square in which segments are counted, in label pixels; a negative
    ///               one counts as 0.
    /// @param decay  how fast unlikeness takes weight off: exp(-difference * decay / 65535).
    FastObjectAdaptiveToneMapping(double width, double decay);

    /// Maps a whole plane.
    /// @param src     D16U or D32F, one channel.
    /// @param dst     re-created in the shape of src; may be src.
    /// @param labels  D32S of any size, labels 0 ... n - 1.
    /// @throws Exception code 2 for another depth.
    void operator()(const Matrix& src, Matrix& dst, const ToneCodes& codes,
                    const Matrix_t<int>& labels, int32_t n) const;

    /// Leaves the mapping to later band calls and hands out what they need.
    /// @param curves  n or more of 65,536 entries each; the first n are written.
    /// @param masks   replaced by n maps of the labels' size.
    /// @throws Exception code 2 for another depth.
    void operator()(const Matrix& src, const ToneCodes& codes, const Matrix_t<int>& labels,
                    int32_t n, VectorC<Vector<double>>& curves, VectorC<Matrix>& masks) const;

    /// The call for a plane of T.
    template <typename T>
    void ApplyToneMapping(const Matrix& src, Matrix& dst, const ToneCodes& codes,
                          const Matrix_t<int>& labels, int32_t n) const;

    /// Maps one band with what the second call handed out.
    /// @param src     D16U band; @param dst re-created in its shape; may be src.
    /// @param offset  row or column of the image that the band begins with.
    /// @throws Exception code 2, empty message, as MakeBandBlend.
    static void ApplyToneMapping(const Matrix& src, Matrix& dst, const ImageSize& image,
                                 const ImageSize& label, const VectorC<Vector<double>>& curves,
                                 const VectorC<Matrix>& masks, int32_t offset,
                                 BandDirection direction);

    /// The mapping of a plane of T, for a caller that runs it among other stages.
    template <typename T>
    ToneBlend MakeBlend(const Matrix& src, const ToneCodes& codes, const Matrix_t<int>& labels,
                        int32_t n) const;

    /// The same for a band.
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

    /// One operator a segment, each fitted to the pixels under its label.
    /// @throws Exception code 2 if labels has not one channel.
    static VectorC<GlobalToneMappingOperatorAdaptive> MakeOperators(const Matrix& small,
                                                                    double ceil,
                                                                    const ToneCodes& codes,
                                                                    const Matrix_t<int>& labels,
                                                                    int32_t n);

    /// What a difference of i codes leaves of a weight, for all 65,536 of them.
    Vector<double> weightTable;
    double windowSize;
};

} // namespace lumo
