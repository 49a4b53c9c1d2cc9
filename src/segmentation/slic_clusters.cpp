#include "segmentation/slic_clusters.h"

#include "core/simd.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lumo {
namespace {

constexpr float largestFloat = std::numeric_limits<float>::max();

} // namespace

namespace kernels {

struct SlicCentre {
    float c0;
    float c1;
    float c2;
    float x;
    float y;
    float largest;
    float weight;
    int32_t number;
};

struct SlicRow {
    const float* p0;
    const float* p1;
    const float* p2;
    float* best;
    float* colour;
    int32_t* label;
};

// Pixels x1 ... x2 of one row against one centre. Ties keep the label that is there.
LUMO_CLONES void AssignPixels(const SlicCentre* centre, const SlicRow* row, int32_t x1, int32_t x2,
                              float y)
{
    const SlicCentre k = *centre;
    const float* p0 = row->p0;
    const float* p1 = row->p1;
    const float* p2 = row->p2;
    float* best = row->best;
    float* colour = row->colour;
    int32_t* label = row->label;
    const float dySquared = (y - k.y) * (y - k.y);
    LUMO_SIMD
    for (int32_t x = x1; x <= x2; ++x) {
        const float d0 = p0[x] - k.c0;
        const float d1 = p1[x] - k.c1;
        const float d2 = p2[x] - k.c2;
        const float dx = static_cast<float>(x) - k.x;
        const float dc = d0 * d0 + d1 * d1 + d2 * d2;
        const float ds = dx * dx + dySquared;
        const float distance = dc / k.largest + ds * k.weight;
        const bool closer = distance < best[x];
        colour[x] = dc;
        best[x] = closer ? distance : best[x];
        label[x] = closer ? k.number : label[x];
    }
}

} // namespace kernels

SlicClusters::SlicClusters(const SlicPlanes& planes, int32_t requested)
    : planes_(planes), requested_(requested)
{
    PlaceOnGrid();
    MoveToLowEdges();
}

void SlicClusters::PlaceOnGrid()
{
    const int32_t rows = planes_.rows;
    const int32_t cols = planes_.cols;
    const double side = std::sqrt(static_cast<double>(requested_));
    const int32_t stepX = std::max(1, static_cast<int32_t>(cols / side));
    const int32_t stepY = std::max(1, static_cast<int32_t>(rows / side));
    const int32_t halfX = stepX / 2;
    const int32_t halfY = stepY / 2;
    const auto room = (static_cast<uint64_t>(cols / stepX) + 1) * (rows / stepY + 1);
    for (Vector<float>& channel : c_) {
        channel = Vector<float>(room);
    }
    x_ = Vector<float>(room);
    y_ = Vector<float>(room);
    for (int64_t r = 0, y = halfY; y <= rows - 1; ++r, y += stepY) {
        for (int64_t x = r % 2 == 0 ? halfX : 2 * halfX; x <= cols - 1; x += stepX) {
            TakeColours(count_, y * cols + x);
            ++count_;
        }
    }
}

void SlicClusters::TakeColours(uint64_t k, int64_t pixel)
{
    for (int c = 0; c < 3; ++c) {
        c_[c][k] = planes_.channel[c][pixel];
    }
    const int64_t row = pixel / planes_.cols;
    x_[k] = static_cast<float>(pixel % planes_.cols);
    y_[k] = static_cast<float>(row);
}

void SlicClusters::MoveToLowEdges()
{
    constexpr int32_t stepX[8] = {-1, -1, 0, 1, 1, 1, 0, -1};
    constexpr int32_t stepY[8] = {0, -1, -1, -1, 0, 1, 1, 1};
    for (uint64_t k = 0; k < count_; ++k) {
        const auto x = static_cast<int32_t>(x_[k]);
        const auto y = static_cast<int32_t>(y_[k]);
        const int64_t start = static_cast<int64_t>(y) * planes_.cols + x;
        int64_t best = start;
        float lowest = planes_.Edge(start);
        for (int n = 0; n < 8; ++n) {
            const int32_t nx = x + stepX[n];
            const int32_t ny = y + stepY[n];
            if (nx < 0 || nx >= planes_.cols || ny < 0 || ny >= planes_.rows) {
                continue;
            }
            const int64_t neighbour = static_cast<int64_t>(ny) * planes_.cols + nx;
            const float edge = planes_.Edge(neighbour);
            if (edge < lowest) {
                lowest = edge;
                best = neighbour;
            }
        }
        if (best != start) {
            TakeColours(k, best);
        }
    }
}

void SlicClusters::Prepare(double compactness)
{
    const double share = static_cast<double>(planes_.PixelCount()) / requested_;
    const auto step = static_cast<int32_t>(std::sqrt(share) + 2.0);
    radius_ = static_cast<float>(step >= 10 ? step : static_cast<int32_t>(step * 1.5));
    weight_ = static_cast<float>(1.0 / static_cast<double>(int64_t{step} * step));
    const auto first = static_cast<float>(compactness * compactness);
    largest_ = Vector<float>(count_, first);
    nextLargest_ = Vector<SlicLargest>(count_);
    for (uint64_t k = 0; k < count_; ++k) {
        std::fill_n(nextLargest_[k].value, slicLanes, first);
    }
    window_ = Vector<Window>(count_);
    sums_ = Vector<SlicSums>(count_);
    colourDistance_ = Vector<float>(static_cast<uint64_t>(planes_.PixelCount()));
    best_ = Vector<float>(static_cast<uint64_t>(planes_.cols));
}

void SlicClusters::Run(SlicClusters* const* clusters, Matrix* const* labels, int32_t count,
                       double compactness, int32_t iterations)
{
    const SlicPlanes& planes = clusters[0]->planes_;
    Vector<uint8_t> scratch(SlicScratchSize(planes.cols));
    std::for_each(clusters, clusters + count, [&](SlicClusters* k) { k->Prepare(compactness); });
    for (int32_t i = 0; i < iterations; ++i) {
        std::for_each(clusters, clusters + count, [](SlicClusters* k) { k->BeginIteration(); });
        for (int32_t y = 0; y < planes.rows; ++y) {
            const int64_t start = static_cast<int64_t>(y) * planes.cols;
            const float* row[3] = {planes.channel[0].data + start, planes.channel[1].data + start,
                                   planes.channel[2].data + start};
            SlicLane lanes[slicLanes];
            for (int32_t l = 0; l < count; ++l) {
                auto* label = RowOf<int32_t>(*labels[l], y);
                if (i == 0) {
                    clusters[l]->ClearRow(y, label);
                }
                clusters[l]->AssignRow(y, label);
                lanes[l] = clusters[l]->Lane(y, label);
            }
            AddSlicRow(lanes, count, row, planes.cols, y, scratch.data);
        }
        std::for_each(clusters, clusters + count, [](SlicClusters* k) { k->EndIteration(); });
    }
}

void SlicClusters::BeginIteration()
{
    SetWindows();
    std::fill(sums_.data, sums_.data + count_, SlicSums{});
}

void SlicClusters::EndIteration()
{
    for (uint64_t k = 0; k < count_; ++k) {
        const float* value = nextLargest_[k].value;
        largest_[k] = *std::max_element(value, value + slicLanes);
    }
    MoveToMeans();
}

void SlicClusters::SetWindows()
{
    const auto right = static_cast<float>(planes_.cols - 1);
    const auto bottom = static_cast<float>(planes_.rows - 1);
    for (uint64_t k = 0; k < count_; ++k) {
        window_[k].x1 = static_cast<int32_t>(std::max(x_[k] - radius_, 0.0f));
        window_[k].x2 = static_cast<int32_t>(std::min(x_[k] + radius_, right));
        window_[k].y1 = static_cast<int32_t>(std::max(y_[k] - radius_, 0.0f));
        window_[k].y2 = static_cast<int32_t>(std::min(y_[k] + radius_, bottom));
    }
}

// Where no centre comes near.
void SlicClusters::ClearRow(int32_t y, int32_t* label)
{
    float* colour = colourDistance_.data + static_cast<int64_t>(y) * planes_.cols;
    std::fill(colour, colour + planes_.cols, largestFloat);
    std::fill(label, label + planes_.cols, 0);
}

// Rows are independent, so all centres of one row can be tried while the row is in cache.
void SlicClusters::AssignRow(int32_t y, int32_t* label)
{
    const int64_t start = static_cast<int64_t>(y) * planes_.cols;
    std::fill(best_.data, best_.data + planes_.cols, largestFloat);
    const kernels::SlicRow row = {planes_.channel[0].data + start, planes_.channel[1].data + start,
                                  planes_.channel[2].data + start, best_.data,
                                  colourDistance_.data + start,    label};
    for (uint64_t k = 0; k < count_; ++k) {
        const Window& window = window_[k];
        if (y < window.y1 || y > window.y2) {
            continue;
        }
        const kernels::SlicCentre centre = {
            c_[0][k], c_[1][k],    c_[2][k], x_[k],
            y_[k],    largest_[k], weight_,  static_cast<int32_t>(k)};
        kernels::AssignPixels(&centre, &row, window.x1, window.x2, static_cast<float>(y));
    }
}

SlicLane SlicClusters::Lane(int32_t y, const int32_t* label)
{
    const int64_t start = static_cast<int64_t>(y) * planes_.cols;
    return {label, colourDistance_.data + start, sums_.data, nextLargest_.data};
}

void SlicClusters::MoveToMeans()
{
    for (uint64_t k = 0; k < count_; ++k) {
        const SlicSums& sums = sums_[k];
        const float f = sums.count < 1 ? 1.0f : static_cast<float>(1.0 / sums.count);
        for (int c = 0; c < 3; ++c) {
            c_[c][k] = f * sums.c[c];
        }
        x_[k] = f * sums.x;
        y_[k] = f * sums.y;
    }
}

} // namespace lumo
