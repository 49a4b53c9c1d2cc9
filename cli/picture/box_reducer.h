// Makes a picture smaller by the mean over the area of each of its pixels, row after row.
#pragma once

#include "picture/source_description.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace qva {

/// The share of sample i of an axis in the target it begins in, and where that is. A target is
/// never smaller than a sample, so at most one more target gets the rest.
struct BoxShare {
    std::int64_t target;
    float first;
    float second;
};

/// Takes rows of interleaved values from the first to the last and hands on each row of the
/// smaller picture once it is complete. A picture of the same size passes unchanged.
class BoxReducer {
public:
    using Sink = std::function<void(const float* row)>;

    /// @param to  each side at most that of from.
    BoxReducer(ImageSize from, ImageSize to, std::int64_t channels, Sink sink);

    /// The columns of one row; rows may be reduced by several threads at once.
    /// @param row      from.width * channels values.
    /// @param reduced  RowValues() values.
    void ReduceColumns(const float* row, float* reduced) const;

    /// Takes the next row, as ReduceColumns left it.
    void Add(const float* reduced);

    std::size_t RowValues() const { return static_cast<std::size_t>(to_.width * channels_); }

private:
    void AddWeighted(const float* reduced, float weight);

    ImageSize from_;
    ImageSize to_;
    std::int64_t channels_;
    Sink sink_;
    std::vector<BoxShare> columns_;
    std::vector<BoxShare> rows_;
    std::vector<float> sums_;
    std::size_t next_ = 0;
};

} // namespace qva
