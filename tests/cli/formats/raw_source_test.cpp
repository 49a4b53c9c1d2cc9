#include "dng_samples.h"
#include "formats/image_source.h"
#include "formats/raw_marks.h"
#include "samples.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <lcms2.h>

namespace qva {

namespace {

using samples::Folder;
using samples::ReadAll;

constexpr std::int64_t patch = 24;
constexpr ImageSize size = {patch * 4, patch * 3};

// Linear light of BT.2020: greys, skin, leaves, sky, and brighter than most scenes are saturated.
constexpr std::array<Vector3, 12> patches = {{{0.9, 0.9, 0.9},
                                              {0.18, 0.18, 0.18},
                                              {0.02, 0.02, 0.02},
                                              {0.45, 0.28, 0.20},
                                              {0.08, 0.14, 0.05},
                                              {0.16, 0.26, 0.46},
                                              {0.50, 0.10, 0.06},
                                              {0.10, 0.45, 0.12},
                                              {0.07, 0.08, 0.40},
                                              {0.70, 0.62, 0.10},
                                              {0.45, 0.12, 0.40},
                                              {0.12, 0.50, 0.55}}};

std::vector<double> Chart()
{
    std::vector<double> rgb;
    for (std::int64_t y = 0; y < size.height; ++y) {
        for (std::int64_t x = 0; x < size.width; ++x) {
            const Vector3& colour = patches[static_cast<std::size_t>(y / patch * 4 + x / patch)];
            rgb.insert(rgb.end(), colour.begin(), colour.end());
        }
    }
    return rgb;
}

cmsCIELab LabOf(const Vector3& rgb)
{
    const Vector3 xyz = Multiply(RgbToXyz(bt2020), rgb);
    const Vector3 white = ToXyz(bt2020.white);
    const cmsCIEXYZ colour = {xyz[0], xyz[1], xyz[2]};
    const cmsCIEXYZ whitePoint = {white[0], white[1], white[2]};
    cmsCIELab lab;
    cmsXYZ2Lab(&whitePoint, &lab, &colour);
    return lab;
}

TEST(RawSource, MosaicComesBackAsThePicture)
{
    const Folder folder;
    const std::string path = folder / "a.dng";
    for (const bool isBigEndian : {false, true}) {
        samples::WriteDng(path, size, Chart(), {.isBigEndian = isBigEndian});
        const std::vector<float> found = ReadAll(path, 7);
        double largest = 0.0;
        for (std::int64_t y = 0; y < size.height; ++y) {
            for (std::int64_t x = 0; x < size.width; ++x) {
                const bool isInside = x % patch >= 5 && x % patch < patch - 5 && y % patch >= 5 &&
                                      y % patch < patch - 5;
                if (!isInside) {
                    continue;
                }
                const float* pixel = found.data() + (y * size.width + x) * 3;
                // 1.0 is the white that fills the sensor, of which the chart's has two thirds.
                const Vector3 light = {pixel[0] * 1.5, pixel[1] * 1.5, pixel[2] * 1.5};
                const cmsCIELab is = LabOf(light);
                const cmsCIELab was =
                    LabOf(patches[static_cast<std::size_t>(y / patch * 4 + x / patch)]);
                largest = std::max(largest, cmsCIE2000DeltaE(&was, &is, 1.0, 1.0, 1.0));
            }
        }
        EXPECT_GT(2.0, largest);
        std::cout << "largest colour difference " << largest << "\n";
    }
}

TEST(RawSource, IsSceneLightWithoutAScale)
{
    const Folder folder;
    const std::string path = folder / "a.dng";
    // Much brighter than the sensor holds: neutral, whatever the colour was.
    std::vector<double> bright(static_cast<std::size_t>(size.width * size.height * 3), 9.0);
    for (std::size_t i = 0; i < bright.size(); i += 3) {
        bright[i] = 6.0;
    }
    samples::WriteDng(path, size, bright, {.orientation = 6});
    const SourceDescription found = OpenImage(path, {1000000})->Describe();
    EXPECT_EQ(6, found.orientation);
    EXPECT_EQ(size.width, found.size.width);
    EXPECT_TRUE(found.sceneLinear && found.isFloat && !found.tags.whiteLuminance);
    for (const float value : ReadAll(path, 5)) {
        ASSERT_NEAR(1.0, value, 0.002);
    }
}

TEST(RawMarks, TellRawPicturesFromOtherTiffs)
{
    const Folder folder;
    samples::WriteDng(folder / "dng", {32, 24}, std::vector<double>(32 * 24 * 3, 0.5));
    const std::string dng = samples::Content(folder / "dng");
    EXPECT_TRUE(IsRaw(dng));
    EXPECT_TRUE(IsRaw("FUJIFILMCCD-RAW 0201"));
    EXPECT_FALSE(IsRaw(dng.substr(0, 60)));
    // Without DNGVersion, it is one for its mosaic; without that it is a TIFF that names a camera.
    std::string other = dng;
    other.replace(other.find("\x12\xc6\x01"), 2, "\x11\xc6");
    EXPECT_TRUE(IsRaw(other));
    other.replace(other.find("\x23\x80"), 2, std::string("\x02\x00", 2));
    EXPECT_FALSE(IsRaw(other));
    samples::WriteTiff(folder / "tiff", size, std::vector<double>(96 * 72 * 3, 5.0), {});
    EXPECT_EQ("TIFF", OpenImage(folder / "tiff", {1000000})->Describe().format);
}

} // namespace

} // namespace qva
