#include "picture/exif_data.h"

#include "picture/tiff_structure.h"
#include "tiff_bytes.h"

#include <gtest/gtest.h>
#include <string>

namespace qva {

namespace {

using samples::AsBytes;
using samples::Bytes;
using samples::Directory;
using samples::Header;
using samples::Number;

TEST(ExifData, TellsOrientationAndResolution)
{
    for (const bool isLittle : {true, false}) {
        const auto number = [isLittle](std::uint64_t n, int count) {
            return Number(n, count, isLittle);
        };
        // Both resolutions lie behind the four entries: 300 / 2 per centimetre.
        const std::string place = number(8 + 2 + 4 * 12 + 4, 4);
        const Bytes exif = AsBytes(Header(isLittle) +
                                   Directory({{274, 3, 1, number(8, 2) + number(0, 2)},
                                              {282, 5, 1, place},
                                              {283, 5, 1, place},
                                              {296, 3, 1, number(3, 2) + number(0, 2)}},
                                             isLittle) +
                                   number(300, 4) + number(2, 4));
        EXPECT_EQ(8, ExifOrientation(exif));
        EXPECT_DOUBLE_EQ(381.0, ExifResolution(exif));
        // Cut at every byte: nothing is read behind the end.
        for (std::size_t size = 0; size < exif.size(); ++size) {
            const Bytes cut(exif.begin(), exif.begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_EQ(size < 22 ? 1 : 8, ExifOrientation(cut)) << size;
            EXPECT_EQ(0.0, ExifResolution(cut)) << size;
        }
    }
    EXPECT_EQ(
        1, ExifOrientation(AsBytes(Header(true) + Directory({{274, 3, 1, "\x09\0\0\0"}}, true))));
}

TEST(TiffStructure, LeavesOutWhatLiesOutside)
{
    const Bytes bytes = AsBytes(Header(true) + Directory({{1, 4, 1, Number(7, 4, true)},
                                                          {2, 4, 0xffffffff, Number(8, 4, true)},
                                                          {3, 2, 5, Number(0xfffffff0, 4, true)},
                                                          {4, 99, 1, Number(1, 4, true)},
                                                          {5, 10, 1, Number(8, 4, true)}},
                                                         true));
    const TiffStructure structure(bytes);
    ASSERT_EQ(8U, *structure.First());
    EXPECT_EQ(2U, structure.Entries(8).size());
    EXPECT_EQ(7.0, *structure.Number(8, 1));
    EXPECT_TRUE(structure.Number(8, 5).has_value());
    EXPECT_FALSE(structure.Next(8));
    EXPECT_TRUE(structure.Entries(0xfffffff0).empty());
    EXPECT_FALSE(TiffStructure(AsBytes("IM*\0aaaaaaaa")).First());
}

/// Exif data with a maker note of the tags 33 and 48, as Apple's cameras write it.
Bytes WithNote(int headroom, int gain)
{
    const std::string note =
        std::string("Apple iOS\0\0\1MM", 14) +
        Directory({{33, 10, 1, Number(44, 4, false)}, {48, 10, 1, Number(52, 4, false)}}, false) +
        Number(static_cast<std::uint64_t>(headroom), 4, false) + Number(1000, 4, false) +
        Number(static_cast<std::uint64_t>(gain), 4, false) + Number(1000, 4, false);
    const auto bytes = static_cast<std::uint32_t>(note.size());
    return AsBytes(Header(true) + Directory({{34665, 4, 1, Number(26, 4, true)}}, true) +
                   Directory({{37500, 7, bytes, Number(44, 4, true)}}, true) + note);
}

TEST(ExifData, TellsTheHeadroomOfApplesCameras)
{
    // One point on each of the four lines, by hand.
    EXPECT_NEAR(1.6, *AppleHeadroom(WithNote(500, 10)), 1e-12);
    EXPECT_NEAR(1.5505, *AppleHeadroom(WithNote(999, 500)), 1e-12);
    EXPECT_NEAR(2.65, *AppleHeadroom(WithNote(1000, 5)), 1e-12);
    EXPECT_NEAR(2.1515, *AppleHeadroom(WithNote(1500, 500)), 1e-12);
    EXPECT_EQ(0.0, *AppleHeadroom(WithNote(1500, 9000)));
    Bytes other = WithNote(500, 10);
    other[44] = 'O';
    EXPECT_FALSE(AppleHeadroom(other));
}

} // namespace

} // namespace qva
