// HEIF boxes and the headers of bit streams, bit by bit by hand.
#include "formats/heif_items.h"

#include "formats/coded_header.h"
#include "formats/heif_colour.h"
#include "formats/heif_view.h"
#include "samples.h"
#include "tiff_bytes.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace qva {

namespace {

using namespace std::string_literals;
using samples::ErrorOf;

std::string Number(std::uint64_t number, int count)
{
    return samples::Number(number, count, false);
}

std::string Box(const std::string& type, const std::string& payload)
{
    return Number(payload.size() + 8, 4) + type + payload;
}

Bytes View(const std::string& text)
{
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string TextOf(const std::vector<unsigned char>& bytes)
{
    return {bytes.begin(), bytes.end()};
}

std::string Entry(int id, const std::string& type, bool isHidden = false)
{
    return Box("infe", "\2\0\0"s + (isHidden ? '\1' : '\0') +
                           Number(static_cast<std::uint64_t>(id), 2) + "\0\0"s + type + "\0"s);
}

/// A file whose first item has its data where a list of places says.
std::string File(const std::string& places, const std::string& more = "",
                 const std::string& entries = Entry(1, "av01"))
{
    return Box("ftyp", "avif") +
           Box("meta", "\0\0\0\0"s + Box("pitm", "\0\0\0\0\0\1"s) +
                           Box("iinf", "\0\0\0\0\0\1"s + entries) + Box("iloc", places) +
                           Box("idat", "idat's bytes") + more) +
           Box("mdat", "abcdefgh");
}

TEST(HeifItems, FindDataInEveryWayOfSayingWhere)
{
    // "cd" of the last box, which begins 8 bytes before the end.
    const auto place = [](const std::string& file) { return file.size() - 6; };
    const auto withPlace = [&](const auto& make) {
        const std::string draft = File(make(0));
        return File(make(place(draft)));
    };
    const struct {
        const char* name;
        std::string file;
        std::string data;
    } cases[] = {
        {"version 0, widths of 4", withPlace([](std::size_t at) {
             return "\0\0\0\0\x44\0\0\1\0\1\0\0\0\1"s + Number(at, 4) + Number(2, 4);
         }),
         "cd"},
        {"version 1, a base of 8, an index of 4, two extents", withPlace([](std::size_t at) {
             return "\1\0\0\0\x44\x84\0\1\0\1\0\0\0\0"s + Number(at - 1, 8) + "\0\2"s +
                    Number(7, 4) + Number(1, 4) + Number(2, 4) + Number(8, 4) + Number(4, 4) +
                    Number(1, 4);
         }),
         "cdf"},
        {"version 2, wide numbers, within the box itself",
         File("\2\0\0\0\x44\0\0\0\0\1\0\0\0\1\0\1\0\0\0\1"s + Number(1, 4) + Number(3, 4)), "dat"},
        {"no widths at all: nothing", File("\0\0\0\0\0\0\0\1\0\1\0\0\0\3"s), ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const HeifItems items("name", View(c.file));
        EXPECT_EQ(c.data, TextOf(items.DataOf(items.Primary())));
    }
    // Another file, and a place within another item.
    for (const std::string& places :
         {"\0\0\0\0\x44\0\0\1\0\1\0\2\0\0"s, "\1\0\0\0\x44\0\0\1\0\1\0\2\0\0\0\0"s})
    {
        const std::string file = File(places);
        const HeifItems items("name", View(file));
        EXPECT_NE(std::string::npos,
                  ErrorOf([&] { items.DataOf(items.Primary()); }).find("in another file"));
    }
    // Overlapping extents that together are longer than the file.
    std::string extents;
    for (int i = 0; i < 40; ++i) {
        extents += Number(0, 4) + Number(100, 4);
    }
    const std::string file = File("\0\0\0\0\x44\0\0\1\0\1\0\0\0\x28"s + extents);
    const HeifItems items("name", View(file));
    EXPECT_NE(std::string::npos,
              ErrorOf([&] { items.DataOf(items.Primary()); }).find("outside the file"));
}

TEST(HeifItems, KnowBoxesOfEveryLength)
{
    const std::string places = "\0\0\0\0\0\0\0\0"s;
    const std::string whole = File(places);
    // A box that reaches to the end, one with a length of 8 bytes, one that ends within its header.
    const std::string last = "\0\0\0\0mdatabc"s;
    EXPECT_EQ("", ErrorOf([&] { HeifItems("name", View(whole + last)); }));
    const std::string wide = "\0\0\0\1moov"s + Number(19, 8) + "abc";
    const std::string withMovie = wide + whole;
    EXPECT_TRUE(HeifItems("name", View(withMovie)).HasMovie());
    EXPECT_FALSE(HeifItems("name", View(whole)).HasMovie());
    for (const std::string& box :
         {"\0\0\0\7moov"s, "\0\0\0\1moov"s + Number(15, 8), "\0\0\0\x20moov"s}) {
        const std::string file = whole + box;
        EXPECT_NE(std::string::npos,
                  ErrorOf([&] { HeifItems("name", View(file)); }).find("damaged"));
    }
    EXPECT_NE(std::string::npos,
              ErrorOf([&] { HeifItems("name", View(wide)); }).find("holds a track of pictures"));
}

TEST(HeifItems, TellPicturesFromTheirHelpers)
{
    const auto reference = [](const std::string& type, int from, const std::vector<int>& to) {
        std::string payload = Number(static_cast<std::uint64_t>(from), 2) + Number(to.size(), 2);
        for (const int id : to) {
            payload += Number(static_cast<std::uint64_t>(id), 2);
        }
        return Box(type, payload);
    };
    const std::string places = "\0\0\0\0\0\0\0\0"s;
    const std::string others =
        Entry(1, "grid") + Entry(2, "av01") + Entry(3, "av01") + Entry(4, "hvc1");
    const struct {
        const char* name;
        std::string references;
        std::string entries;
        bool expected;
    } cases[] = {
        {"alone", "", Entry(1, "av01"), false},
        {"beside", "", Entry(1, "av01") + Entry(2, "hvc1"), true},
        {"hidden", "", Entry(1, "av01") + Entry(2, "hvc1", true), false},
        {"of another kind", "", Entry(1, "av01") + Entry(2, "jpeg"), false},
        {"tiles, thumbnail and auxiliary",
         reference("dimg", 1, {2}) + reference("thmb", 3, {1}) + reference("auxl", 4, {1}), others,
         false},
        {"one too many", reference("dimg", 1, {2}) + reference("thmb", 3, {1}), others, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string file = File(places, Box("iref", "\0\0\0\0"s + c.references), c.entries);
        EXPECT_EQ(c.expected, HeifItems("name", View(file)).HasPicturesBeside(1));
    }
    const std::string file =
        File(places, Box("iref", "\0\0\0\0"s + reference("dimg", 1, {3, 2})), others);
    const HeifItems items("name", View(file));
    EXPECT_EQ((std::vector<std::uint32_t>{3, 2}), items.TargetsOf(1, FourLetters("dimg")));
    EXPECT_EQ(std::vector<std::uint32_t>{1}, items.SourcesOf(2, FourLetters("dimg")));
    EXPECT_TRUE(items.SourcesOf(2, FourLetters("cdsc")).empty());
    EXPECT_EQ(nullptr, items.Find(9));
}

TEST(HeifItems, GiveExifBehindItsOffsetAndXmpByItsType)
{
    const std::string entries = Entry(1, "av01") + Entry(2, "Exif") +
                                Box("infe", "\2\0\0\0\0\3\0\0mime\0application/rdf+xml\0"s);
    const std::string references =
        Box("iref", "\0\0\0\0"s + Box("cdsc", "\0\2\0\1\0\1"s) + Box("cdsc", "\0\3\0\1\0\1"s));
    // Both in the list's own data: "idat's bytes".
    const auto file = [&](const std::string& offset) {
        std::string bytes =
            File("\1\0\0\0\x44\0\0\2\0\2\0\1\0\0\0\1"s + Number(0, 4) + Number(10, 4) +
                     "\0\3\0\1\0\0\0\1"s + Number(5, 4) + Number(3, 4),
                 references, entries);
        return bytes.replace(bytes.find("idat's"), 4, offset);
    };
    const std::string whole = file(Number(2, 4));
    const HeifItems items("name", View(whole));
    const Metadata found = MetadataOf(items, items.Primary());
    EXPECT_EQ(" byt", TextOf(found.exif)); // 4 + 2 behind the start, up to the tenth
    EXPECT_EQ("s b", TextOf(found.xmp));
    const std::string far = file(Number(0xffffffff, 4));
    const HeifItems damaged("name", View(far));
    EXPECT_TRUE(MetadataOf(damaged, damaged.Primary()).exif.empty());
}

TEST(HeifView, SetsEveryTurnAndMirrorUpright)
{
    // A mirror whose first bit is set changes left and right; turns are to the left. What is shown
    // at (x, y) was stored at (W - 1 - y, x) after one turn, and at (W - 1 - y, H - 1 - x) where
    // left and right change, too: the orientation 7 of tag 274 (TIFF 6.0); 5 is (y, x).
    const struct {
        int turns;
        int mirror; ///< -1 none
        int orientation;
    } cases[] = {{0, -1, 1}, {1, -1, 8}, {2, -1, 3}, {3, -1, 6}, {0, 1, 2}, {0, 0, 4},
                 {2, 1, 4},  {2, 0, 2},  {1, 1, 7},  {1, 0, 5},  {3, 1, 5}, {3, 0, 7}};
    for (const auto& c : cases) {
        const std::string turn(1, static_cast<char>(c.turns));
        const std::string mirror(1, static_cast<char>(c.mirror));
        std::vector<HeifProperty> properties = {{FourLetters("irot"), View(turn)}};
        if (c.mirror >= 0) {
            properties.push_back({FourLetters("imir"), View(mirror)});
        }
        EXPECT_EQ(c.orientation, ViewOf(properties, {5, 3}).orientation)
            << c.turns << ' ' << c.mirror;
    }
}

/// Bits, the highest of a byte first.
class BitWriter {
public:
    BitWriter& Add(std::uint32_t number, int count)
    {
        for (int i = count - 1; i >= 0; --i, ++place_) {
            if (place_ % 8 == 0) {
                bytes_.push_back('\0');
            }
            bytes_.back() = static_cast<char>(static_cast<unsigned char>(bytes_.back()) |
                                              (number >> i & 1) << (7 - place_ % 8));
        }
        return *this;
    }
    BitWriter& Golomb(std::uint32_t number)
    {
        int bits = 0;
        while ((number + 1) >> (bits + 1) != 0) {
            ++bits;
        }
        return Add(0, bits).Add(number + 1, bits + 1);
    }
    const std::string& Text() const { return bytes_; }

private:
    std::string bytes_;
    std::size_t place_ = 0;
};

std::string Unit(int type, const std::string& payload)
{
    return std::string(1, static_cast<char>(type << 3 | 2)) + static_cast<char>(payload.size()) +
           payload;
}

using Bits = std::vector<std::pair<std::uint32_t, int>>; // numbers and their widths

/// A sequence header of a still picture, 640 x 300.
std::string Av1Sequence(std::uint32_t profile, const Bits& colour)
{
    BitWriter bits;
    bits.Add(profile, 3).Add(1, 1).Add(1, 1).Add(0, 5).Add(9, 4).Add(8, 4).Add(639, 10).Add(299, 9);
    bits.Add(0, 3).Add(0, 3);
    for (const auto& [number, width] : colour) {
        bits.Add(number, width);
    }
    return Unit(1, bits.Add(0, 8).Text());
}

/// Depth, layout of the chroma and where it is sited, range and transfer.
std::string TextOf(const CodedHeader& header)
{
    const ChromaLayout& chroma = header.chroma;
    return fmt::format("{} bits{}{}, {}{} {:d}{:d}, {}", header.bits, chroma.isGrey ? ", grey" : "",
                       header.points->fullRange ? ", full" : "", chroma.shiftX, chroma.shiftY,
                       chroma.sitedX, chroma.sitedY, header.points->transfer);
}

TEST(CodedHeader, OfAv1TellsDepthAndLayout)
{
    const struct {
        std::uint32_t profile;
        Bits colour;
        const char* expected;
    } cases[] = {
        {0, {{2, 3}, {1, 1}}, "8 bits, grey, full, 00 00, 2"},
        {0, {{0, 3}, {0, 1}, {0, 2}}, "8 bits, 11 00, 2"},
        {0, {{4, 3}, {1, 1}, {1, 2}}, "10 bits, full, 11 10, 2"},
        {0, {{0, 3}, {1, 1}, {2, 2}}, "8 bits, full, 11 11, 2"},
        {1, {{3, 2}, {9, 8}, {16, 8}, {9, 8}, {0, 1}}, "10 bits, 00 00, 16"},
        {1, {{1, 2}, {1, 8}, {13, 8}, {0, 8}}, "8 bits, full, 00 00, 13"}, // sRGB as R, G, B
        {2, {{8, 4}, {1, 1}}, "10 bits, full, 10 00, 2"},
        {2, {{12, 4}, {1, 1}, {0, 1}}, "12 bits, full, 00 00, 2"},
        {2, {{12, 4}, {1, 1}, {3, 2}, {1, 2}}, "12 bits, full, 11 10, 2"},
    };
    for (const auto& c : cases) {
        // Behind a delimiter, and before a frame that is not looked into.
        const std::string units = Unit(2, "") + Av1Sequence(c.profile, c.colour) + Unit(6, "frame");
        const CodedHeader found = ReadAv1Header(View(units));
        EXPECT_TRUE(found.size.width == 640 && found.size.height == 300);
        ASSERT_TRUE(found.points);
        EXPECT_EQ(c.expected, TextOf(found));
    }
    const std::string grey = Av1Sequence(0, cases[0].colour);
    EXPECT_EQ(8, ReadAv1Header(View(grey + grey)).bits);
    const std::string twice = grey + Av1Sequence(0, cases[2].colour);
    EXPECT_THROW(ReadAv1Header(View(twice)), std::out_of_range);
    EXPECT_THROW(ReadAv1Header({}), std::out_of_range);
    EXPECT_THROW(ReadAv1Header(View(grey.substr(0, grey.size() - 4))), std::out_of_range);
}

TEST(CodedHeader, OfHevcTellsSizeCropAndDepth)
{
    const auto sequence = [](std::uint32_t format, std::uint32_t subLayers) {
        BitWriter bits;
        bits.Add(33 << 9 | 1, 16).Add(0, 4).Add(subLayers, 3).Add(1, 1);
        // Profile and level; bytes that end in a stuffed 3.
        bits.Add(0, 24).Add(0, 32).Add(0, 32).Add(0, 8);
        if (subLayers > 0) {
            // The first has both, others neither.
            bits.Add(3, 2).Add(0, 14).Add(0, 32).Add(0, 32).Add(0, 32);
        }
        bits.Golomb(0).Golomb(format).Add(0, format == 3 ? 1 : 0);
        bits.Golomb(64).Golomb(48).Add(1, 1).Golomb(0).Golomb(3).Golomb(1).Golomb(2).Golomb(2).Add(
            1, 8);
        std::string stuffed;
        int zeros = 0;
        for (const char byte : bits.Text()) {
            if (zeros >= 2 && static_cast<unsigned char>(byte) <= 3) {
                stuffed += '\3';
                zeros = 0;
            }
            zeros = byte == 0 ? zeros + 1 : 0;
            stuffed += byte;
        }
        return stuffed;
    };
    const struct {
        std::uint32_t format;
        bool isGrey;
        ImageSize size;
    } cases[] = {
        {0, true, {61, 45}}, {1, false, {58, 42}}, {2, false, {58, 45}}, {3, false, {61, 45}}};
    for (const auto& c : cases) {
        for (const std::uint32_t subLayers : {0U, 1U}) {
            SCOPED_TRACE(testing::Message() << c.format << ' ' << subLayers);
            const std::string unit = sequence(c.format, subLayers);
            const std::string configuration =
                std::string(21, '\0') + "\1\1\x21\0\1"s + Number(unit.size(), 2) + unit;
            const std::string picture = "\0\3abc"s;
            const CodedHeader found = ReadHevcHeader(View(configuration), View(picture));
            EXPECT_EQ(c.size.width, found.size.width);
            EXPECT_EQ(c.size.height, found.size.height);
            EXPECT_EQ(64, found.kept.width);
            EXPECT_EQ(48, found.kept.height);
            EXPECT_EQ(10, found.bits);
            EXPECT_EQ(c.isGrey, found.chroma.isGrey);
            EXPECT_EQ(c.format == 1 || c.format == 2 ? 1 : 0, found.chroma.shiftX);
            EXPECT_EQ(c.format == 1 ? 1 : 0, found.chroma.shiftY);
            // A length that reaches behind the data.
            EXPECT_THROW(ReadHevcHeader(View(configuration), View(picture.substr(0, 4))),
                         std::out_of_range);
        }
    }
}

} // namespace

} // namespace qva
