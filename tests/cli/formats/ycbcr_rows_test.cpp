#include "formats/ycbcr_rows.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace qva {

namespace {

/// Planes of packed rows.
struct Planes {
    std::vector<std::uint16_t> samples[3];
    std::int64_t widths[3];

    PlaneSet Views() const
    {
        PlaneSet views;
        for (std::size_t k = 0; k < 3; ++k) {
            views[k] = {reinterpret_cast<const unsigned char*>(samples[k].data()), widths[k] * 2};
        }
        return views;
    }
};

// R, G, B in 10 bits through the definitions of ITU-T H.273, 8.3, evaluated here the other way
// round.
TEST(YcbcrRows, InvertTheDefinitionOfEveryMatrix)
{
    const struct {
        int matrix;
        double red, blue; ///< weights in luma
    } cases[] = {{1, 0.2126, 0.0722}, {2, 0.299, 0.114},   {4, 0.30, 0.11},
                 {5, 0.299, 0.114},   {6, 0.299, 0.114},   {7, 0.212, 0.087},
                 {8, 0.25, 0.25},     {9, 0.2627, 0.0593}, {0, 0.0, 0.0}};
    const double colours[][3] = {
        {0.8, 0.3, 0.1}, {0.1, 0.2, 0.9}, {1.0, 1.0, 1.0}, {0.2, 0.9, 0.4}};
    for (const auto& c : cases) {
        for (const bool isFull : {true, false}) {
            for (const auto& rgb : colours) {
                SCOPED_TRACE(testing::Message() << c.matrix << ' ' << isFull << ' ' << rgb[0]);
                const double luma =
                    c.red * rgb[0] + (1 - c.red - c.blue) * rgb[1] + c.blue * rgb[2];
                double values[3] = {luma, (rgb[2] - luma) / (2 * (1 - c.blue)),
                                    (rgb[0] - luma) / (2 * (1 - c.red))};
                if (c.matrix == 8) {
                    values[1] = rgb[1] / 2 - (rgb[0] + rgb[2]) / 4;
                    values[2] = (rgb[0] - rgb[2]) / 2;
                } else if (c.matrix == 0) {
                    std::copy_n(rgb + 1, 2, values);
                    values[2] = rgb[0];
                }
                Planes planes{{}, {1, 1, 1}};
                for (std::size_t k = 0; k < 3; ++k) {
                    const bool isLuma = k == 0 || c.matrix == 0;
                    const double scale = isFull ? 1023.0 : (isLuma ? 219.0 : 224.0) * 4;
                    const double black = isLuma ? (isFull ? 0.0 : 64.0) : 512.0;
                    planes.samples[k] = {
                        static_cast<std::uint16_t>(std::lround(values[k] * scale + black))};
                }
                float found[3];
                YcbcrRows({{1, 1}, 10, {}, c.matrix, isFull}).Convert(planes.Views(), 0, found);
                for (std::size_t k = 0; k < 3; ++k) {
                    EXPECT_NEAR(rgb[k], static_cast<double>(found[k]), 0.0021) << k;
                }
            }
        }
    }
    EXPECT_FALSE(KnowsMatrix(3));
    EXPECT_FALSE(KnowsMatrix(10));
}

// Chroma is a ramp, so that what is interpolated tells where its samples are taken to lie.
TEST(YcbcrRows, TakeChromaFromWhereItsSamplesLie)
{
    const struct {
        ChromaLayout layout;
        std::vector<double> columns; ///< chroma columns that the five luma columns lie at
        std::vector<double> rows;
    } cases[] = {
        {{false, 1, 1, false, false}, {0, 0.25, 0.75, 1.25, 1.75}, {0, 0.25, 0.75, 1}},
        {{false, 1, 1, true, false}, {0, 0.5, 1, 1.5, 2}, {0, 0.25, 0.75, 1}},
        {{false, 1, 1, true, true}, {0, 0.5, 1, 1.5, 2}, {0, 0.5, 1, 1}},
        {{false, 1, 0, true, false}, {0, 0.5, 1, 1.5, 2}, {0, 1, 2, 3}},
        {{false, 0, 0, false, false}, {0, 1, 2, 3, 4}, {0, 1, 2, 3}},
    };
    constexpr ImageSize size = {5, 4};
    for (std::size_t number = 0; number < std::size(cases); ++number) {
        const auto& c = cases[number];
        SCOPED_TRACE(number);
        const std::int64_t width = c.layout.shiftX != 0 ? 3 : 5;
        const std::int64_t height = c.layout.shiftY != 0 ? 2 : 4;
        Planes planes{{std::vector<std::uint16_t>(20, 512), {}, {}}, {5, width, width}};
        for (std::int64_t y = 0; y < height; ++y) {
            for (std::int64_t x = 0; x < width; ++x) {
                planes.samples[1].push_back(512);
                planes.samples[2].push_back(static_cast<std::uint16_t>(512 + 16 * x + 64 * y - 96));
            }
        }
        YcbcrRows rows({size, 10, c.layout, 6, true});
        for (std::int64_t y = 0; y < size.height; ++y) {
            std::vector<float> rgb(15);
            rows.Convert(planes.Views(), y, rgb.data());
            for (std::size_t x = 0; x < 5; ++x) {
                const double chroma =
                    (16 * c.columns[x] + 64 * c.rows[static_cast<std::size_t>(y)] - 96) / 1023;
                // Red is luma and 1.402 of the red difference (ITU-R BT.601).
                EXPECT_NEAR(512.0 / 1023 + 1.402 * chroma, static_cast<double>(rgb[x * 3]), 1e-5)
                    << x << ' ' << y;
            }
        }
    }
}

} // namespace

} // namespace qva
