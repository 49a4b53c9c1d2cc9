// AVIF and HEIC: the pictures in tests/cli/data, whose patches tools/make_heif_samples.py tells.
#include "colour/scene_decoder.h"
#include "formats/heif_view.h"
#include "formats/image_source.h"
#include "samples.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>

namespace qva {

namespace {

using samples::ErrorOf;
using samples::Folder;

using Colour = std::array<double, 3>;

const std::string data = LUMO_TEST_DATA;

struct Opened {
    SourceDescription description;
    std::vector<float> rgb; ///< of the stored rows

    Colour At(std::int64_t x, std::int64_t y) const
    {
        const auto place = static_cast<std::size_t>((y * description.size.width + x) * 3);
        return {rgb[place], rgb[place + 1], rgb[place + 2]};
    }
};

Opened Open(const std::string& path, const SizeLimits& limits = {1000000})
{
    const auto source = OpenImage(path, limits);
    Opened opened{source->Describe(), {}};
    const ImageSize size = source->Size();
    opened.rgb.resize(static_cast<std::size_t>(size.width * size.height * 3));
    source->ReadRows(1, opened.rgb.data());
    // Opened anew it starts over.
    source->Open(path, limits);
    source->ReadRows(size.height, opened.rgb.data());
    return opened;
}

void ExpectColour(const Colour& expected, const Colour& found, double tolerance)
{
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(expected[k], found[k], tolerance) << "channel " << k;
    }
}

constexpr Colour Grey(double value)
{
    return {value, value, value};
}

TEST(HeifSource, GivesTheSignalsAndTheLightOfEveryDepthAndLayout)
{
    const Colour red = {0.6, 0.3, 0.2};
    const Colour brown = {0.8, 0.4, 0.2};
    // 0.299, 0.587 and 0.114 of brown: what is left of a colour without chroma.
    const double brownLuma = 0.4968;
    const struct {
        const char* file;
        const char* format;
        int bits;
        Colour first, second, third; ///< signals
        double firstLight, secondLight;
    } cases[] = {
        {"pq10_420.avif", "AVIF", 10, Grey(0.508078), Grey(0.751827), red, 100, 1000},
        {"pq12_444.avif", "AVIF", 12, Grey(0.508078), Grey(0.751827), red, 100, 1000},
        {"p3_pq10_444.avif", "AVIF", 10, Grey(0.508078), Grey(0.751827), red, 100, 1000},
        {"hlg10_422.avif", "AVIF", 10, Grey(0.75), Grey(1.0), red, 203, 1000},
        {"srgb8_420.avif", "AVIF", 8, Grey(1.0), Grey(0.5), brown, 203, 43.45},
        {"srgb8_rgb.avif", "AVIF", 8, Grey(1.0), Grey(0.5), brown, 203, 43.45},
        {"grey8.avif", "AVIF", 8, Grey(1.0), Grey(0.5), Grey(brownLuma), 203, 43.45},
        {"heic8_420.heic", "HEIC", 8, Grey(1.0), Grey(0.5), brown, 203, 43.45},
        {"heic10_420.heic", "HEIC", 10, Grey(0.508078), Grey(0.751827), red, 100, 1000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        const Opened opened = Open(data + c.file);
        EXPECT_EQ(c.format, opened.description.format);
        EXPECT_EQ(c.bits, opened.description.bits);
        EXPECT_EQ(65535.0, FullScale(opened.description));
        // Luma and chroma are each rounded to a code, and HEVC adds a loss of its own.
        const double code = 65535.0 / (std::exp2(c.bits) - 1.0);
        const Colour* expected[] = {&c.first, &c.second, &c.third};
        for (int patch = 0; patch < 3; ++patch) {
            Colour codes = *expected[patch];
            for (double& value : codes) {
                value *= 65535.0;
            }
            ExpectColour(codes, opened.At(patch * 8 + 4, 4), 2.5 * code);
        }
        const SceneDecoder decoder(Interpret(opened.description, {}), c.file);
        std::vector<float> row(opened.rgb.begin(), opened.rgb.begin() + 24 * 3);
        SampleCounts counts;
        decoder.Decode(row.data(), 24, counts);
        const double share = c.bits == 8 ? 0.025 : 0.012;
        ExpectColour(Grey(c.firstLight), {row[12], row[13], row[14]}, c.firstLight * share);
        ExpectColour(Grey(c.secondLight), {row[36], row[37], row[38]}, c.secondLight * share);
    }
}

TEST(HeifSource, FollowsCropTurnAndMirrorOnce)
{
    // A pixel is ((x + 1) / 8, (y + 1) / 8, 1 / 4); the crop begins at its second column.
    for (const auto& [file, left, size, orientation] :
         {std::tuple{"steps.avif", 0, ImageSize{5, 3}, 1},
          std::tuple{"steps_turned.avif", 1, ImageSize{3, 2}, 7}})
    {
        SCOPED_TRACE(file);
        const Opened opened = Open(data + file);
        EXPECT_EQ(orientation, opened.description.orientation);
        ASSERT_EQ(size.width, opened.description.size.width);
        ASSERT_EQ(size.height, opened.description.size.height);
        for (std::int64_t y = 0; y < size.height; ++y) {
            for (std::int64_t x = 0; x < size.width; ++x) {
                const auto column = static_cast<double>(x + left + 1);
                ExpectColour({column / 8 * 65535, static_cast<double>(y + 1) / 8 * 65535, 16384},
                             opened.At(x, y), 140);
            }
        }
    }
    EXPECT_EQ(6, Open(data + "heic8_420.heic").description.orientation);
}

Bytes View(const std::string& text)
{
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

TEST(HeifSource, CropsAfterATurnAreThoseOfTheTurnedPicture)
{
    using namespace std::string_literals;
    // 4 x 2 of 10 x 6 turned to 6 x 10, its centre moved by (-1, 4): columns 0 to 3, the last rows.
    const std::string crop =
        "\0\0\0\4\0\0\0\1\0\0\0\2\0\0\0\1\xff\xff\xff\xff\0\0\0\1\0\0\0\4\0\0\0\1"s;
    const std::string turn = "\1"s;
    const StoredView view =
        ViewOf({{FourLetters("irot"), View(turn)}, {FourLetters("clap"), View(crop)}}, {10, 6});
    // To the left by a quarter: the last rows were the first columns, and columns are rows.
    EXPECT_EQ(8, view.orientation);
    EXPECT_EQ(0, view.left);
    EXPECT_EQ(0, view.top);
    EXPECT_EQ(2, view.size.width);
    EXPECT_EQ(4, view.size.height);
    EXPECT_FALSE(view.hasFalseCrop);
    const StoredView refused = ViewOf({{FourLetters("clap"), View(crop)}}, {4, 2});
    EXPECT_TRUE(refused.hasFalseCrop);
    EXPECT_EQ(4, refused.size.width);
}

TEST(HeifSource, PutsGridsTogether)
{
    const Opened opened = Open(data + "grid8.avif");
    EXPECT_EQ(24, opened.description.size.width);
    EXPECT_FALSE(opened.description.hasMorePictures);
    for (std::int64_t x = 0; x < 24; ++x) {
        ExpectColour(Grey((x < 16 ? 0.25 : 0.75) * 65535), opened.At(x, 7), 300);
    }
}

TEST(HeifSource, AppliesGainMaps)
{
    // IEC 61966-2-1: light of the signals 0.8, 0.4, 0.2. 2 stops, and offsets of 1/64.
    const Colour base = {0.6038, 0.1329, 0.0331};
    Colour bright = base;
    for (double& light : bright) {
        light = (light + 1.0 / 64) * 4 - 1.0 / 64;
    }
    const Opened full = Open(data + "gain_map.avif");
    EXPECT_TRUE(full.description.isFloat);
    EXPECT_EQ("AVIF with a gain map", full.description.format);
    ExpectColour(Grey(1.0), full.At(2, 2), 0.02);
    ExpectColour(bright, full.At(22, 2), 0.03);
    SizeLimits none{1000000};
    none.headroom = 0.0;
    ExpectColour(base, Open(data + "gain_map.avif", none).At(22, 2), 0.01);
    const Opened unknown = Open(data + "gain_map_unknown.avif");
    EXPECT_FALSE(unknown.description.isFloat);
    ASSERT_EQ(1U, unknown.description.notes.size());
    EXPECT_EQ("its gain map is of the unknown version 7: the base picture is taken",
              unknown.description.notes[0]);
}

/// A file with some bytes behind a name replaced.
std::string Changed(const std::string& file, const std::string& name, std::size_t behind,
                    const std::string& bytes)
{
    std::string content = samples::Content(data + file);
    const std::size_t place = content.find(name);
    EXPECT_NE(std::string::npos, place);
    return content.replace(place + name.size() + behind, bytes.size(), bytes);
}

TEST(HeifSource, RefusesWhatContradictsItselfBeforeMemoryIsTaken)
{
    using namespace std::string_literals;
    const struct {
        const char* name;
        std::string bytes;
        const char* reason;
    } cases[] = {
        {"another size", Changed("pq10_420.avif", "ispe", 7, "\x19"), "it states 25 x 8 pixels"},
        {"sides", Changed("pq10_420.avif", "ispe", 4, "\x7f"), "a side is longer than"},
        {"16 GB", Changed("pq10_420.avif", "ispe", 4, "\0\0\xff\xff\0\0\xff\xff"s), "cannot hold"},
        {"no pixels", Changed("pq10_420.avif", "ispe", 4, "\0\0\0\0"s), "no pixels"},
        {"main picture", Changed("pq10_420.avif", "pitm", 4, "\0\x77"s), "main picture is missing"},
        {"unknown kind", Changed("srgb8_rgb.avif", "infe\2\0\0\0\0\1\0\0"s, 0, "iovl"), "\"iovl\""},
        {"matrix", Changed("p3_pq10_444.avif", "nclx", 5, "\x0e"), "matrix of colours 14"},
        {"data outside", Changed("heic8_420.heic", "iloc", 14, "\x7f"), "lie outside the file"},
        {"a tile less", Changed("grid8.avif", "dimg", 2, "\0\1\0\1"s), ": "},
    };
    const Folder folder;
    const std::string path = folder / "changed";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        samples::WriteBytes(path, c.bytes);
        const std::string error = ErrorOf([&path] { Open(path, {std::uint64_t{1} << 40}); });
        EXPECT_NE(std::string::npos, error.find(c.reason)) << error;
        EXPECT_TRUE(error.starts_with(path + ": ")) << error;
    }
}

} // namespace

} // namespace qva
