#include "picture/box_reducer.h"

#include <algorithm>
#include <utility>

namespace qva {

namespace {

std::vector<BoxShare> SharesOf(std::int64_t from, std::int64_t to)
{
    std::vector<BoxShare> shares(static_cast<std::size_t>(from));
    const double scale = static_cast<double>(to) / static_cast<double>(from);
    for (std::int64_t i = 0; i < from; ++i) {
        // Whole numbers decide where a sample lies, so that rounding cannot move one.
        const std::int64_t target = i * to / from;
        const std::int64_t cut = std::min((target + 1) * from - i * to, to);
        const double first = static_cast<double>(cut) / static_cast<double>(from);
        shares[static_cast<std::size_t>(i)] = {target, static_cast<float>(first),
                                               static_cast<float>(scale - first)};
    }
    return shares;
}

} // namespace

BoxReducer::BoxReducer(ImageSize from, ImageSize to, std::int64_t channels, Sink sink)
    : from_(from),
      to_(to),
      channels_(channels),
      sink_(std::move(sink)),
      columns_(SharesOf(from.width, to.width)),
      rows_(SharesOf(from.height, to.height)),
      sums_(RowValues())
{
}

void BoxReducer::ReduceColumns(const float* row, float* reduced) const
{
    if (from_.width == to_.width) {
        std::copy_n(row, RowValues(), reduced);
        return;
    }
    std::fill_n(reduced, RowValues(), 0.0f);
    for (const BoxShare& share : columns_) {
        float* target = reduced + share.target * channels_;
        for (std::int64_t k = 0; k < channels_; ++k) {
            const float value = *row++;
            target[k] += value * share.first;
            if (share.second > 0.0f) {
                target[channels_ + k] += value * share.second;
            }
        }
    }
}

void BoxReducer::AddWeighted(const float* reduced, float weight)
{
    for (float& sum : sums_) {
        sum += *reduced++ * weight;
    }
}

void BoxReducer::Add(const float* reduced)
{
    const BoxShare& share = rows_[next_++];
    AddWeighted(reduced, share.first);
    const bool isLast = next_ == rows_.size() || rows_[next_].target != share.target;
    if (isLast) {
        sink_(sums_.data());
        std::fill(sums_.begin(), sums_.end(), 0.0f);
    }
    if (share.second > 0.0f) {
        AddWeighted(reduced, share.second);
    }
}

} // namespace qva
