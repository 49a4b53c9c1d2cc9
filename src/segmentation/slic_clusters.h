// The centres of a superpixel run and the assignment of pixels to them.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "segmentation/slic_planes.h"
#include "segmentation/slic_sums.h"

namespace lumo {

/// Local k-means over channel values and position (Achanta et al., "SLIC superpixels compared to
/// state-of-the-art superpixel methods", 2012), in the adaptive form: how
/// far a colour may be off is learnt for each cluster, from its farthest member so far.
class SlicClusters {
public:
    /// Places the centres on a hexagonal grid and moves each to the lowest edge value around it.
    /// @param requested  2 ... 5000 clusters wanted; the grid decides how many there are.
    SlicClusters(const SlicPlanes& planes, int32_t requested);

    /// Runs the iterations of 1 ... slicLanes runs over the same planes, row by row side by side.
    /// @param compactness  root of every cluster's first largest colour distance.
    /// @param labels       each D32S of the image's size; receive cluster numbers, 0 where no
    ///                     centre comes near.
    /// @param iterations   1 at least.
    static void Run(SlicClusters* const* clusters, Matrix* const* labels, int32_t count,
                    double compactness, int32_t iterations);

    uint64_t Count() const { return count_; }

private:
    struct Window {
        int32_t x1;
        int32_t x2;
        int32_t y1;
        int32_t y2;
    };

    void PlaceOnGrid();
    void MoveToLowEdges();
    void TakeColours(uint64_t k, int64_t pixel);
    void Prepare(double compactness);
    void BeginIteration();
    void SetWindows();
    void ClearRow(int32_t y, int32_t* label);
    void AssignRow(int32_t y, int32_t* label);
    SlicLane Lane(int32_t y, const int32_t* label);
    void EndIteration();
    void MoveToMeans();

    const SlicPlanes& planes_;
    int32_t requested_;
    uint64_t count_ = 0;
    float radius_ = 0.0f;
    float weight_ = 0.0f; // of the squared distance in the plane
    Vector<float> c_[3];
    Vector<float> x_;
    Vector<float> y_;
    Vector<float> largest_;           // the largest colour distances that this iteration divides by
    Vector<SlicLargest> nextLargest_; // those that the next one will
    Vector<Window> window_;
    Vector<SlicSums> sums_;
    Vector<float> colourDistance_;
    Vector<float> best_; // of one row
};

} // namespace lumo
