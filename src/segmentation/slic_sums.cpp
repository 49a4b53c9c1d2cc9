#include "segmentation/slic_sums.h"

#include "core/simd.h"

#include <cstring>

namespace lumo {
namespace {

constexpr int32_t sumCount = 5;

// One value of every lane: a lane's chain of additions takes no longer for the others.
using Lanes = float __attribute__((vector_size(slicLanes * sizeof(float))));
using LaneNumbers = int32_t __attribute__((vector_size(slicLanes * sizeof(int32_t))));

struct RowState {
    Lanes sum[sumCount] = {};
    int32_t start[slicLanes] = {}; // of each lane's run
};

LUMO_INLINE Lanes LoadLanes(const float* p)
{
    Lanes v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

LUMO_INLINE void BeginRun(const SlicLane& lane, int32_t x, int32_t l, RowState& state)
{
    constexpr LaneNumbers numbers = {0, 1, 2, 3, 4, 5, 6, 7};
    const LaneNumbers chosen = numbers == l;
    const SlicSums& sums = lane.sums[lane.label[x]];
    const float begin[sumCount] = {sums.c[0], sums.c[1], sums.c[2], sums.x, sums.y};
    for (int32_t i = 0; i < sumCount; ++i) {
        state.sum[i] = chosen ? Lanes{} + begin[i] : state.sum[i];
    }
    state.start[l] = x;
}

// The largest of a run, spread over eight values: the last eight pixels may count twice.
LUMO_INLINE void RaiseLargest(const float* colour, int32_t count, float* largest)
{
    if (count < slicLanes) {
        for (int32_t i = 0; i < count; ++i) {
            largest[i] = colour[i] > largest[i] ? colour[i] : largest[i];
        }
        return;
    }
    Lanes most = LoadLanes(largest);
    for (int32_t i = 0; i < count; i += slicLanes) {
        const Lanes eight = LoadLanes(colour + (i < count - slicLanes ? i : count - slicLanes));
        most = eight > most ? eight : most;
    }
    std::memcpy(largest, &most, sizeof most);
}

LUMO_INLINE void EndRun(const SlicLane& lane, int32_t x, int32_t l, const float (*sum)[slicLanes],
                        int32_t first)
{
    const int32_t k = lane.label[first];
    SlicSums& sums = lane.sums[k];
    sums.c[0] = sum[0][l];
    sums.c[1] = sum[1][l];
    sums.c[2] = sum[2][l];
    sums.x = sum[3][l];
    sums.y = sum[4][l];
    sums.count += x - first;
    RaiseLargest(lane.colour + first, x - first, lane.largest[k].value);
}

// The next position behind x at which any lane's label changes; behind the row all bits are set.
LUMO_INLINE int32_t NextChange(const uint8_t* changes, int32_t x)
{
    for (++x;; x += 8) {
        uint64_t eight = 0;
        std::memcpy(&eight, changes + x, sizeof eight);
        if (eight != 0) {
            break;
        }
    }
    while (changes[x] == 0) {
        ++x;
    }
    return x;
}

} // namespace

namespace kernels {

// Bit l of changes[x]: lane l's label differs from the one before.
LUMO_CLONES void MarkChanges(const int32_t* label, int32_t cols, int32_t lane, uint8_t* changes)
{
    const auto bit = static_cast<uint8_t>(1 << lane);
    LUMO_SIMD
    for (int32_t x = 1; x < cols; ++x) {
        const auto change = label[x] != label[x - 1] ? bit : uint8_t{0};
        changes[x] = static_cast<uint8_t>(changes[x] | change);
    }
}

LUMO_CLONES void AddRow(const SlicLane* lanes, int32_t count, const float* const* channel,
                        int32_t cols, int32_t y, const uint8_t* changes)
{
    const float* p0 = channel[0];
    const float* p1 = channel[1];
    const float* p2 = channel[2];
    const auto row = static_cast<float>(y);
    RowState state;
    for (int32_t l = 0; l < count; ++l) {
        BeginRun(lanes[l], 0, l, state);
    }
    for (int32_t x = 0; x < cols;) {
        const int32_t next = NextChange(changes, x);
        for (; x < next; ++x) {
            state.sum[0] += p0[x];
            state.sum[1] += p1[x];
            state.sum[2] += p2[x];
            state.sum[3] += static_cast<float>(x);
            state.sum[4] += row;
        }
        alignas(32) float sum[sumCount][slicLanes];
        std::memcpy(sum, state.sum, sizeof sum);
        for (uint32_t left = changes[x] & ((1u << count) - 1); left != 0; left &= left - 1) {
            const int32_t l = __builtin_ctz(left);
            EndRun(lanes[l], x, l, sum, state.start[l]);
            if (x < cols) {
                BeginRun(lanes[l], x, l, state);
            }
        }
    }
}

} // namespace kernels

void AddSlicRow(const SlicLane* lanes, int32_t count, const float* const* channel, int32_t cols,
                int32_t y, uint8_t* scratch)
{
    std::memset(scratch, 0, static_cast<size_t>(cols));
    std::memset(scratch + cols, 0xFF, 8);
    for (int32_t l = 0; l < count; ++l) {
        kernels::MarkChanges(lanes[l].label, cols, l, scratch);
    }
    kernels::AddRow(lanes, count, channel, cols, y, scratch);
}

} // namespace lumo
