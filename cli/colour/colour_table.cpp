#include "colour/colour_table.h"

#include "base/workers.h"

#include <algorithm>
#include <cassert>

namespace qva {

namespace {

constexpr std::uint32_t codeMax = 65535;

/// One axis: how far beyond the node, and how many nodes a step along it is.
struct Axis {
    std::uint32_t beyond;
    std::size_t stride;
};

void SortDown(Axis& first, Axis& second)
{
    const Axis a = first;
    const bool isSwapped = first.beyond < second.beyond;
    first = isSwapped ? second : first;
    second = isSwapped ? a : second;
}

} // namespace

ColourTable::ColourTable(int steps, int outputs, const Function& function)
    : nodes_(static_cast<std::size_t>(steps) + 1),
      step_(codeMax / static_cast<std::uint32_t>(steps)),
      outputs_(static_cast<std::size_t>(outputs)),
      stride_((outputs_ + 3) / 4 * 4),
      values_(nodes_ * nodes_ * nodes_ * stride_)
{
    assert(codeMax % static_cast<std::uint32_t>(steps) == 0 && outputs <= mostOutputs);
    ForEach(static_cast<std::int64_t>(nodes_),
            [&](std::int64_t red, int) { SampleSlab(static_cast<std::size_t>(red), function); });
}

void ColourTable::SampleSlab(std::size_t red, const Function& function)
{
    std::vector<std::uint16_t> codes;
    codes.reserve(nodes_ * nodes_ * 3);
    for (std::size_t green = 0; green < nodes_; ++green) {
        for (std::size_t blue = 0; blue < nodes_; ++blue) {
            for (const std::size_t node : {red, green, blue}) {
                codes.push_back(static_cast<std::uint16_t>(node * step_));
            }
        }
    }
    std::vector<float> sampled(nodes_ * nodes_ * outputs_);
    function(codes.data(), nodes_ * nodes_, sampled.data());
    float* out = values_.data() + red * nodes_ * nodes_ * stride_;
    for (std::size_t i = 0; i < nodes_ * nodes_; ++i) {
        std::copy_n(sampled.data() + i * outputs_, outputs_, out + i * stride_);
    }
}

template <std::size_t Stride>
void ColourTable::ConvertAs(const std::uint16_t* codes, std::size_t pixels, float* values) const
{
    const std::size_t strides[3] = {nodes_ * nodes_, nodes_, 1};
    const float toWeight = 1.0f / static_cast<float>(step_);
    // Codes are divided by the step. Its reciprocal, in units of 2^-32, is less than one unit too
    // large, and a code times a step is below 2^32: no quotient reaches the next whole number.
    const std::uint64_t reciprocal = (std::uint64_t{1} << 32) / step_ + 1;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel, codes += 3, values += Stride) {
        std::size_t corner = 0;
        Axis axes[3];
        for (int k = 0; k < 3; ++k) {
            // The last node belongs to the cell below it.
            const auto quotient = static_cast<std::uint32_t>(codes[k] * reciprocal >> 32);
            const std::uint32_t node = std::min(quotient, static_cast<std::uint32_t>(nodes_ - 2));
            axes[k] = {codes[k] - node * step_, strides[k]};
            corner += node * strides[k];
        }
        SortDown(axes[0], axes[1]);
        SortDown(axes[1], axes[2]);
        SortDown(axes[0], axes[1]);
        const float* at = values_.data() + corner * Stride;
        std::uint32_t left = step_;
        float weight = static_cast<float>(left - axes[0].beyond) * toWeight;
        for (std::size_t i = 0; i < Stride; ++i) {
            values[i] = at[i] * weight;
        }
        for (int k = 0; k < 3; ++k) {
            at += axes[k].stride * Stride;
            left = axes[k].beyond - (k < 2 ? axes[k + 1].beyond : 0);
            weight = static_cast<float>(left) * toWeight;
            for (std::size_t i = 0; i < Stride; ++i) {
                values[i] += at[i] * weight;
            }
        }
    }
}

void ColourTable::Convert(const std::uint16_t* codes, std::size_t pixels, float* values) const
{
    switch (stride_) {
    case 4:
        return ConvertAs<4>(codes, pixels, values);
    case 8:
        return ConvertAs<8>(codes, pixels, values);
    case 12:
        return ConvertAs<12>(codes, pixels, values);
    default:
        return ConvertAs<16>(codes, pixels, values);
    }
}

} // namespace qva
