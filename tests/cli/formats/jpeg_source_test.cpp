#include "base/errors.h"
#include "colour/colour_interpretation.h"
#include "colour/icc_builder.h"
#include "formats/image_source.h"
#include "jpeg_samples.h"
#include "samples.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace qva {

namespace {

using namespace samples;
using Codes = std::vector<unsigned char>;

SourceDescription Describe(const std::string& path)
{
    return OpenImage(path, {})->Describe();
}

bool Tells(const std::string& path, const std::string& words)
{
    const SourceDescription description = Describe(path);
    return std::any_of(
        description.notes.begin(), description.notes.end(),
        [&words](const std::string& note) { return note.find(words) != std::string::npos; });
}

// A block of 8 x 8 pixels of one code comes out of JPEG as it was.
Codes Flat(int channels, unsigned char code)
{
    return Codes(static_cast<std::size_t>(64 * channels), code);
}

constexpr ImageSize block = {8, 8};

// The sRGB code 188 stands for this light (IEC 61966-2-1).
const double light188 = std::pow((188.0 / 255.0 + 0.055) / 1.055, 2.4);

/// A flat picture of code 188 with a flat map of code 102, 0.4 of the way.
std::string Picture(const std::vector<Segment>& picture, const std::vector<Segment>& map,
                    bool isLittle = true)
{
    return WithMap(Jpeg(block, Flat(3, 188), {.segments = picture}),
                   Jpeg({1, 1}, {102}, {.channels = 1, .segments = map}), isLittle);
}

TEST(JpegSource, ReadsGreyColourAndProgressiveRows)
{
    const Folder folder;
    const std::string path = folder / "a";
    for (const bool isProgressive : {false, true}) {
        for (const int channels : {1, 3}) {
            // Two blocks side by side, the right one with a colour where there is one.
            Codes codes;
            for (int i = 0; i < 128 * channels; ++i) {
                const bool isRight = i / channels % 16 >= 8;
                codes.push_back(isRight ? 200 : 50);
            }
            WriteBytes(path, Jpeg({16, 8}, codes, {channels, isProgressive}));
            std::vector<float> expected;
            for (int i = 0; i < 128 * 3; ++i) {
                expected.push_back(i / 3 % 16 >= 8 ? 200.0f : 50.0f);
            }
            EXPECT_EQ(expected, ReadAll(path, 1)) << channels << isProgressive;
            EXPECT_EQ(expected, ReadAll(path, 3)) << channels << isProgressive;
            EXPECT_EQ(channels == 1, Describe(path).isGrey);
            EXPECT_EQ(isProgressive, Describe(path).decodeBytes > 0);
        }
    }
    EXPECT_TRUE(Tells(path, "has no gain map"));
    Codes red = Flat(3, 0);
    for (std::size_t i = 0; i < red.size(); i += 3) {
        red[i] = 254;
    }
    WriteBytes(path, Jpeg(block, red, {}));
    const std::vector<float> read = ReadAll(path);
    EXPECT_NEAR(254, read[0], 1);
    EXPECT_NEAR(0, read[1], 1);
    EXPECT_NEAR(0, read[2], 1);
}

TEST(JpegSource, FindsWhatSegmentsSay)
{
    const Folder folder;
    const std::string path = folder / "a";
    const std::vector<unsigned char> profile = RenderedProfile();
    const std::string bytes(profile.begin(), profile.end());
    const std::string name("ICC_PROFILE\0", 12);
    const Segment first = {2, name + "\1\2" + bytes.substr(0, 100)};
    const Segment second = {2, name + "\2\2" + bytes.substr(100)};
    const std::string resource("Photoshop 3.0\0"
                               "8BIM\4\4\0\0\0\0\0\5ABCDE\0",
                               32);
    WriteBytes(
        path,
        Jpeg(
            block, Flat(1, 9),
            {.channels = 1,
             .dotsPerInch = 300,
             .segments = {
                 second, ExifSegment({{274, 6}}, false), first, XmpSegment(">"), {13, resource}}}));
    SourceDescription found = Describe(path);
    EXPECT_EQ(profile, found.tags.profile);
    EXPECT_EQ(6, found.orientation);
    EXPECT_EQ(300.0, found.dpi);
    EXPECT_EQ('M', found.metadata.exif.at(0));
    EXPECT_EQ('<', found.metadata.xmp.at(0));
    EXPECT_EQ((std::vector<unsigned char>{'A', 'B', 'C', 'D', 'E'}), found.metadata.iptc);
    // A part is missing: other colours must not be printed without a word.
    WriteBytes(path, Jpeg(block, Flat(1, 9), {.channels = 1, .segments = {first}}));
    const std::string error = ErrorOf([&] { ReadAll(path); });
    EXPECT_EQ("", error);
    EXPECT_EQ(1U, Describe(path).tags.profile.size());
}

TEST(JpegSource, RefusesInksAndDamageByName)
{
    const Folder folder;
    const std::string path = folder / "a";
    WriteBytes(path, Jpeg(block, Flat(4, 9), {.channels = 4}));
    EXPECT_NE(std::string::npos, ErrorOf([&] { Describe(path); }).find("CMYK"));
    Codes noise;
    for (unsigned i = 0; i < 64 * 64; ++i) {
        noise.push_back(static_cast<unsigned char>(i * 2654435761U >> 13));
    }
    const std::string whole = Jpeg({64, 64}, noise, {.channels = 1});
    WriteBytes(path, whole.substr(0, whole.size() * 2 / 3));
    const std::string error = ErrorOf([&] { ReadAll(path, 8); });
    EXPECT_TRUE(error.starts_with(path + ": cannot be read as JPEG: ")) << error;
    EXPECT_NE("", ErrorOf([&] { OpenImage(path, {64 * 64 - 1}); }));
}

TEST(GainMapJpeg, TakesTheLightOfEveryKind)
{
    const Folder folder;
    const std::string path = folder / "a";
    // 0.4 of two stops; Apple's share of a factor of 4 is coded by ITU-R BT.709.
    const double stops = std::exp2(0.8);
    const double share = 1.0 + 3.0 * std::pow((0.4 + 0.099) / 1.099, 1.0 / 0.45);
    const struct {
        const char* name;
        Segment segment;
        double gain;
    } kinds[] = {{"ISO 21496-1", IsoSegment(), stops},
                 {"hdrgm", HdrgmSegment(), stops},
                 {"Apple", AppleSegment(), share}};
    for (const auto& kind : kinds) {
        for (const bool isLittle : {true, false}) {
            SCOPED_TRACE(testing::Message() << kind.name << isLittle);
            WriteBytes(path, Picture({}, {kind.segment}, isLittle));
            const SourceDescription found = Describe(path);
            EXPECT_TRUE(found.isFloat);
            EXPECT_FALSE(found.hasMorePictures);
            EXPECT_TRUE(Interpret(found, {}).hasScale); // it is not to be exposed anew
            EXPECT_TRUE(
                std::any_of(found.findings.begin(), found.findings.end(),
                            [&](const Finding& f) { return f.text.starts_with(kind.name); }));
            const std::vector<float> rgb = ReadAll(path, 3);
            ASSERT_EQ(192U, rgb.size());
            for (const float light : rgb) {
                EXPECT_NEAR(light188 * kind.gain, light, 1e-4);
            }
        }
    }
    // Less headroom: half of the stops of the first kind.
    WriteBytes(path, Picture({}, {IsoSegment()}));
    const auto source = OpenImage(path, {1000, 1000, 1.0});
    std::vector<float> rgb(192);
    source->ReadRows(8, rgb.data());
    EXPECT_NEAR(light188 * std::exp2(0.4), rgb[0], 1e-4);
}

TEST(GainMapJpeg, IsFoundThroughTheDirectoryInXmp)
{
    const Folder folder;
    const std::string path = folder / "a";
    const std::string map = Jpeg({1, 1}, {102}, {.channels = 1, .segments = {HdrgmSegment()}});
    const Segment list = XmpSegment(
        "g:Version='1.0'><c:Directory><r:Seq><r:li r:parseType='Resource'><c:Item "
        "i:Semantic='Primary' i:Mime='image/jpeg'/></r:li><r:li r:parseType='Resource'><c:Item "
        "i:Semantic='GainMap' i:Length='" +
        std::to_string(map.size()) + "'/></r:li></r:Seq></c:Directory>");
    WriteBytes(path, Jpeg(block, Flat(3, 188), {.segments = {list}}) + map);
    EXPECT_NEAR(light188 * std::exp2(0.8), ReadAll(path)[0], 1e-4);
    WriteBytes(path, Jpeg(block, Flat(3, 188), {.segments = {list}}));
    EXPECT_TRUE(Tells(path, "its gain map is not where the file says"));
}

TEST(GainMapJpeg, LeavesTheBaseWhereItCannotBeUsed)
{
    const Folder folder;
    const std::string path = folder / "a";
    const std::string cut = Picture({}, {IsoSegment()});
    const struct {
        std::string bytes;
        const char* reason;
    } cases[] = {
        {Picture({}, {IsoSegment(3)}), "is of the unknown version 3"},
        {Picture({}, {HdrgmSegment("2.0")}), "is of the unknown version 2.0"},
        {Picture({}, {XmpSegment("g:Version='1.0'>")}), "lacks GainMapMax"},
        {Picture({}, {XmpSegment("g:Version='1.0' g:GainMapMax='x'>")}), "no number in GainMapMax"},
        {Picture({},
                 {XmpSegment("p:AuxiliaryImageType='urn:com:apple:photo:2020:aux:hdrgainmap'>")}),
         "does not tell its headroom"},
        {Picture({}, {{2, IsoSegment().second.substr(0, 60)}}), "ends early"},
        {cut.substr(0, cut.size() - 40), "cannot be read as JPEG"},
        {Picture({XmpSegment("g:Version='1.0'>")}, {}), "is not where the file says"},
    };
    for (const auto& c : cases) {
        WriteBytes(path, c.bytes);
        EXPECT_TRUE(Tells(path, c.reason)) << c.reason;
        EXPECT_TRUE(Tells(path, "the base picture is taken")) << c.reason;
        EXPECT_EQ(std::vector<float>(192, 188.0f), ReadAll(path)) << c.reason;
    }
    // A version that is not known does no harm where the other numbers are.
    WriteBytes(path, Picture({}, {IsoSegment(3), HdrgmSegment()}));
    EXPECT_NEAR(light188 * std::exp2(0.8), ReadAll(path)[0], 1e-4);
    // A second picture that is no map.
    WriteBytes(path, Picture({}, {}));
    EXPECT_TRUE(Describe(path).hasMorePictures);
}

/// Mean light of the three channels over a stored picture.
Vector3 MeanOf(const std::string& name)
{
    const std::vector<float> rgb = ReadAll(std::string(QVA_TEST_DATA) + "/" + name, 16);
    Vector3 mean{};
    for (std::size_t i = 0; i < rgb.size(); ++i) {
        mean[i % 3] += rgb[i] / static_cast<double>(rgb.size() / 3);
    }
    return mean;
}

// What the formulas give, evaluated by another program on the samples of another decoder.
TEST(GainMapJpeg, AgreesWithAnotherDecoder)
{
    const struct {
        const char* name;
        Vector3 mean;
    } cases[] = {
        {"apple_gainmap_new.jpg", {0.195398, 0.211466, 0.234664}},
        {"paris_exif_xmp_gainmap_bigendian.jpg", {0.777133, 0.929176, 1.218311}},
        {"seine_sdr_gainmap_srgb.jpg", {0.784862, 0.816173, 0.842776}},
    };
    for (const auto& c : cases) {
        const Vector3 mean = MeanOf(c.name);
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_NEAR(c.mean[k], mean[k], c.mean[k] * 1e-3) << c.name << k;
        }
    }
    EXPECT_EQ(5,
              Describe(std::string(QVA_TEST_DATA) + "/paris_exif_orientation_5.jpg").orientation);
}

} // namespace

} // namespace qva
