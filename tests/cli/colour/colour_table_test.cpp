#include "colour/colour_table.h"

#include <gtest/gtest.h>
#include <random>
#include <stdexcept>

namespace qva {

namespace {

/// Sums that tell the channels apart, and how far a colour is from grey.
void Sums(const std::uint16_t* codes, std::size_t count, float* values)
{
    for (std::size_t i = 0; i < count; ++i, codes += 3) {
        const int r = codes[0];
        const int g = codes[1];
        const int b = codes[2];
        *values++ = static_cast<float>(r + 2 * g + 4 * b);
        *values++ = static_cast<float>(r);
        *values++ = static_cast<float>(std::abs(r - g) + std::abs(g - b));
        *values++ = 7.0f;
        *values++ = static_cast<float>(-b);
    }
}

std::vector<float> ValuesAt(const ColourTable& table, const std::vector<std::uint16_t>& codes)
{
    std::vector<float> values(codes.size() / 3 * table.Stride());
    table.Convert(codes.data(), codes.size() / 3, values.data());
    return values;
}

// What runs straight through the cube comes out as it is, on nodes, at the ends and between.
TEST(ColourTable, IsExactForStraightFunctions)
{
    const ColourTable table(51, 5, Sums);
    ASSERT_EQ(8u, table.Stride());
    std::vector<std::uint16_t> codes = {0, 0, 0, 65535, 65535, 65535, 1285, 2570, 65535};
    std::mt19937 random(1);
    for (int i = 0; i < 3000; ++i) {
        codes.push_back(static_cast<std::uint16_t>(random()));
    }
    const std::vector<float> values = ValuesAt(table, codes);
    for (std::size_t i = 0; i < codes.size() / 3; ++i) {
        const float* at = values.data() + i * table.Stride();
        const float r = codes[i * 3];
        const float g = codes[i * 3 + 1];
        const float b = codes[i * 3 + 2];
        ASSERT_NEAR(r + 2 * g + 4 * b, at[0], 0.1f);
        ASSERT_NEAR(r, at[1], 0.02f);
        ASSERT_NEAR(7.0f, at[3], 1e-5f);
        ASSERT_NEAR(-b, at[4], 0.02f);
    }
    // White is a node.
    EXPECT_EQ(65535.0f * 7.0f, values[table.Stride()]);
}

// Mixed of all eight corners a grey would take colour from those that have it.
TEST(ColourTable, KeepsGreysGrey)
{
    const ColourTable table(51, 5, Sums);
    for (std::uint32_t code = 0; code < 65536; code += 101) {
        const auto grey = static_cast<std::uint16_t>(code);
        ASSERT_EQ(0.0f, ValuesAt(table, {grey, grey, grey})[2]) << code;
    }
}

TEST(ColourTable, TakesOneToSixteenValues)
{
    for (const int outputs : {1, 4, 9, 16}) {
        const auto numbers = [outputs](const std::uint16_t*, std::size_t count, float* values) {
            for (std::size_t i = 0; i < count * static_cast<std::size_t>(outputs); ++i) {
                values[i] = static_cast<float>(i % static_cast<std::size_t>(outputs));
            }
        };
        const ColourTable table(3, outputs, numbers);
        const std::vector<float> values = ValuesAt(table, {1, 20000, 65535, 500, 4, 9});
        for (std::size_t k = 0; k < static_cast<std::size_t>(outputs); ++k) {
            EXPECT_NEAR(static_cast<float>(k), values[k], 1e-5f);
            EXPECT_NEAR(static_cast<float>(k), values[table.Stride() + k], 1e-5f);
        }
    }
}

TEST(ColourTable, HandsOnFailures)
{
    const auto fail = [](const std::uint16_t*, std::size_t, float*) {
        throw std::runtime_error("no");
    };
    EXPECT_THROW(ColourTable(3, 1, fail), std::runtime_error);
}

} // namespace

} // namespace qva
