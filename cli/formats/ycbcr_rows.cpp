#include "formats/ycbcr_rows.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qva {

namespace {

using Rows = std::array<std::array<float, 3>, 3>;

struct LumaWeights {
    int matrix;
    double red;
    double blue;
};

// ITU-T H.273, table 4: KR and KB. 2 is "unspecified", for which MIAF (ISO/IEC 23000-22, 7.3.6.4)
// takes 6.
constexpr LumaWeights lumaWeights[] = {{1, 0.2126, 0.0722}, {2, 0.299, 0.114}, {4, 0.30, 0.11},
                                       {5, 0.299, 0.114},   {6, 0.299, 0.114}, {7, 0.212, 0.087},
                                       {9, 0.2627, 0.0593}};

constexpr int identity = 0;
constexpr int yCgCo = 8;

/// R, G, B as sums of luma (0 ... 1) and both differences (-0.5 ... 0.5).
Rows MatrixOf(int matrix)
{
    if (matrix == identity) {
        return {{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}}; // green, blue, red
    }
    if (matrix == yCgCo) {
        return {{{1, -1, 1}, {1, 1, 0}, {1, -1, -1}}};
    }
    const LumaWeights& weights =
        *std::find_if(std::begin(lumaWeights), std::end(lumaWeights),
                      [matrix](const LumaWeights& entry) { return entry.matrix == matrix; });
    const double red = 2.0 * (1.0 - weights.red);
    const double blue = 2.0 * (1.0 - weights.blue);
    const double green = 1.0 - weights.red - weights.blue;
    return {{{1, 0, static_cast<float>(red)},
             {1, static_cast<float>(-blue * weights.blue / green),
              static_cast<float>(-red * weights.red / green)},
             {1, static_cast<float>(blue), 0}}};
}

template <typename T>
void ScaleLine(const T* codes, float black, float factor, std::vector<float>& line)
{
    for (std::size_t i = 0; i < line.size(); ++i) {
        line[i] = (static_cast<float>(codes[i]) - black) * factor;
    }
}

/// Where a luma sample lies between two chroma samples: (1 - share) of near, share of far.
struct Neighbours {
    std::int64_t near = 0;
    std::int64_t far = 0;
    float share = 0.0f;
};

Neighbours NeighboursOf(std::int64_t place, bool isSited, std::int64_t count)
{
    const std::int64_t near = std::min(place / 2, count - 1);
    const bool isSecond = place % 2 == 1;
    const std::int64_t far = std::clamp<std::int64_t>(isSecond ? near + 1 : near - 1, 0, count - 1);
    if (isSited) {
        return {near, far, isSecond ? 0.5f : 0.0f};
    }
    return {near, far, 0.25f};
}

} // namespace

bool KnowsMatrix(int matrix)
{
    return matrix == identity || matrix == yCgCo ||
           std::any_of(std::begin(lumaWeights), std::end(lumaWeights),
                       [matrix](const LumaWeights& entry) { return entry.matrix == matrix; });
}

YcbcrRows::YcbcrRows(const PlaneKind& kind) : kind_(kind), matrix_(MatrixOf(kind.matrix))
{
    const double largest = std::exp2(kind.bits) - 1.0;
    const double unit = std::exp2(kind.bits - 8);
    // ITU-T H.273, 8.3.
    lumaScale_ = {0.0f, static_cast<float>(1.0 / largest)};
    chromaScale_ = {static_cast<float>(128.0 * unit), static_cast<float>(1.0 / largest)};
    if (!kind.fullRange) {
        lumaScale_ = {static_cast<float>(16.0 * unit), static_cast<float>(1.0 / (219.0 * unit))};
        chromaScale_.factor = static_cast<float>(1.0 / (224.0 * unit));
    }
    if (kind.matrix == identity) {
        chromaScale_ = lumaScale_;
    }
    const auto width = static_cast<std::size_t>(kind.size.width);
    const auto shift = static_cast<unsigned>(kind.chroma.shiftX);
    luma_.resize(width);
    if (!kind.chroma.isGrey) {
        chroma_[0].resize(width);
        chroma_[1].resize(width);
        near_.resize((width + shift) >> shift);
        far_.resize(near_.size());
    }
}

void YcbcrRows::ReadLine(const PlaneView& plane, std::int64_t row, const Scale& scale,
                         std::vector<float>& line) const
{
    const unsigned char* first = plane.first + row * plane.stride;
    if (kind_.bits <= 8) {
        ScaleLine(first, scale.black, scale.factor, line);
    } else {
        ScaleLine(reinterpret_cast<const std::uint16_t*>(first), scale.black, scale.factor, line);
    }
}

void YcbcrRows::ReadChroma(const PlaneView& plane, std::int64_t row, std::vector<float>& line)
{
    const ChromaLayout& layout = kind_.chroma;
    const Neighbours rows = layout.shiftY == 0
                                ? Neighbours{row, row, 0.0f}
                                : NeighboursOf(row, layout.sitedY, (kind_.size.height + 1) / 2);
    ReadLine(plane, rows.near, chromaScale_, near_);
    if (rows.share > 0.0f) {
        ReadLine(plane, rows.far, chromaScale_, far_);
        for (std::size_t i = 0; i < near_.size(); ++i) {
            near_[i] += rows.share * (far_[i] - near_[i]);
        }
    }
    if (layout.shiftX == 0) {
        line.swap(near_);
        return;
    }
    const auto count = static_cast<std::int64_t>(near_.size());
    for (std::int64_t x = 0; x < kind_.size.width; ++x) {
        const Neighbours columns = NeighboursOf(x, layout.sitedX, count);
        const float near = near_[static_cast<std::size_t>(columns.near)];
        const float far = near_[static_cast<std::size_t>(columns.far)];
        line[static_cast<std::size_t>(x)] = near + columns.share * (far - near);
    }
}

void YcbcrRows::Convert(const PlaneSet& planes, std::int64_t row, float* rgb)
{
    ReadLine(planes[0], row, lumaScale_, luma_);
    if (kind_.chroma.isGrey) {
        for (std::size_t x = 0; x < luma_.size(); ++x) {
            std::fill_n(rgb + x * 3, 3, std::clamp(luma_[x], 0.0f, 1.0f));
        }
        return;
    }
    ReadChroma(planes[1], row, chroma_[0]);
    ReadChroma(planes[2], row, chroma_[1]);
    for (std::size_t x = 0; x < luma_.size(); ++x) {
        for (std::size_t k = 0; k < 3; ++k) {
            const float signal = matrix_[k][0] * luma_[x] + matrix_[k][1] * chroma_[0][x] +
                                 matrix_[k][2] * chroma_[1][x];
            rgb[x * 3 + k] = std::clamp(signal, 0.0f, 1.0f);
        }
    }
}

} // namespace qva
