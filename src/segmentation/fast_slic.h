// Superpixels.
#pragma once

#include "segmentation/image_segmentation.h"
#include "segmentation/slic_planes.h"

namespace lumo {

/// Cuts an image into patches of one colour, round where colours leave them free. SlicClusters says
/// which centre a pixel belongs to; NumberRegions then makes one patch of what hangs together,
/// gives crumbs away and leaves no gap in the numbers. Nothing is kept between calls.
class FastSlic : public ImageSegmentation {
public:
    /// Largest number of regions that may be requested.
    static constexpr int32_t numLabelsMax_ = 5000;

    /// @param compactness    colour distance, in the units of the image, that weighs as much as the
    ///                       grid step in the first iteration.
    /// @param numIterations  0 or less leaves the clustering out.
    FastSlic(double compactness, int32_t numIterations)
        : compactness_(compactness), numIterations_(numIterations)
    {
    }

    /// @param src     D8U, D16U or D32F with three channels, taken as they are.
    /// @param labels  D32S of the size of src, re-created or replaced; labels 0 ... n - 1.
    /// @returns n; it may exceed the request (fragments above the size limit count) and is 0 where
    ///          every region was folded away (all labels are 0 then).
    /// @throws Exception code 3 for a request outside 1 ... 5000, then code 2 for another depth or
    ///         channel count; labels untouched.
    int operator()(const Matrix& src, int numLabelsPreDefined, Matrix& labels) override;

    /// The same over planes that several runs share.
    int Segment(const SlicPlanes& planes, int32_t numLabelsPreDefined, Matrix& labels) const;

    /// Several runs side by side, which costs less than one after the other.
    /// @param count     1 ... slicLanes runs; run i has request[i], labels[i] and result[i].
    void Segment(const SlicPlanes& planes, const int32_t* request, int32_t count,
                 Matrix* const* labels, int32_t* result) const;

    /// The checks of the call, in its order.
    static void EnsureRequest(int32_t numLabelsPreDefined);
    static void EnsureImage(const Matrix& src);

    double compactness_;
    int32_t numIterations_;
};

} // namespace lumo
