// What OpenEXR holds beside one flat part of R, G and B.
#include "formats/image_source.h"
#include "samples.h"

#include <cmath>
#include <gtest/gtest.h>

namespace qva {

namespace {

using samples::ErrorOf;
using samples::Folder;
using samples::ReadAll;

constexpr ImageSize size = {36, 30};

/// Smooth colours: a quarter of the chroma samples says all about them.
std::vector<float> SmoothColours()
{
    std::vector<float> rgb;
    for (std::int64_t y = 0; y < size.height; ++y) {
        for (std::int64_t x = 0; x < size.width; ++x) {
            const double u = static_cast<double>(x) / static_cast<double>(size.width);
            const double v = static_cast<double>(y) / static_cast<double>(size.height);
            rgb.push_back(static_cast<float>(4.0 + 2.0 * std::sin(3.0 * u)));
            rgb.push_back(static_cast<float>(3.0 + std::cos(3.0 * v)));
            rgb.push_back(static_cast<float>(2.0 + u * v));
        }
    }
    return rgb;
}

double LargestError(const std::vector<float>& expected, const std::vector<float>& found)
{
    double error = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        error = std::max(error, std::abs(static_cast<double>(found[i]) / expected[i] - 1.0));
    }
    return error;
}

TEST(ExrChroma, BecomesTheColoursItWasMadeOf)
{
    const Folder folder;
    const std::string path = folder / "a.exr";
    const std::vector<float> colours = SmoothColours();
    samples::WriteChromaExr(path, size, colours);
    const std::vector<float> found = ReadAll(path, 4);
    // The writer rounds luminance to 7 bits and chroma to 5.
    EXPECT_GT(0.03, LargestError(colours, found));
    EXPECT_EQ(found, ReadAll(path, 1));
    // Far from the origin, as a cut-out lies, and again from its middle on.
    samples::WriteChromaExr(path, size, colours, -40, 1000);
    EXPECT_EQ(found, ReadAll(path, 7));
    const auto source = OpenImage(path, {100000});
    EXPECT_FALSE(source->Describe().isGrey);
    source->SkipRows(11);
    std::vector<float> row(static_cast<std::size_t>(size.width * 3));
    source->ReadRows(1, row.data());
    EXPECT_TRUE(std::equal(row.begin(), row.end(), found.begin() + 11 * size.width * 3));
}

TEST(ExrParts, AreReadFromTheFirstWithColours)
{
    const Folder folder;
    const std::string path = folder / "a.exr";
    samples::WriteExrParts(path, {5, 4},
                           {{"depth", {"Z"}, 9.0f},
                            {"beauty", {"A", "B", "G", "R"}, 0.5f},
                            {"diffuse", {"B", "G", "R"}, 0.25f}});
    EXPECT_EQ(std::vector<float>(60, 0.5f), ReadAll(path, 3));
    const SourceDescription found = OpenImage(path, {1000})->Describe();
    EXPECT_TRUE(found.hasMorePictures);
    ASSERT_EQ(1u, found.findings.size());
    EXPECT_EQ("2 of 3 (beauty), the first with colours", found.findings[0].text);
    samples::WriteExrParts(path, {5, 4}, {{"depth", {"Z"}, 9.0f}, {"mask", {"id"}, 1.0f}});
    const std::string error = ErrorOf([&] { ReadAll(path); });
    EXPECT_NE(std::string::npos, error.find("has no channel R")) << error;
    samples::WriteExrParts(path, {4, 4}, {{"a", {"Z"}, 9.0f}, {"b", {"BY", "RY", "Y"}, 1.0f}});
    const std::string chroma = ErrorOf([&] { ReadAll(path); });
    EXPECT_NE(std::string::npos, chroma.find("chroma channels behind its first")) << chroma;
}

} // namespace

} // namespace qva
