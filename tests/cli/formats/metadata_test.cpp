// Metadata from file to file, in the formats that are written.
#include "formats/image_source.h"
#include "formats/png_metadata.h"
#include "formats/tiff_metadata.h"
#include "formats/writer_table.h"
#include "picture/exif_copy.h"
#include "picture/print_metadata.h"
#include "picture/tiff_structure.h"
#include "picture_kinds.h"
#include "samples.h"
#include "tiff_bytes.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

using samples::AsBytes;
using samples::Content;
using samples::Folder;
using samples::Number;
using samples::PngChunk;

constexpr ImageSize size = {7, 5};

void Write(const std::string& path, const Metadata& metadata)
{
    const std::vector<std::uint16_t> codes(static_cast<std::size_t>(size.width * size.height * 3),
                                           30000);
    OutputFile file(path);
    const auto writer = OutputFormatOf(path).make(file, size, {.metadata = metadata});
    writer->Write(codes.data(), size.height);
    writer->Finish();
    file.Commit();
}

Metadata ReadBack(const std::string& path)
{
    return OpenImage(path, {})->Describe().metadata;
}

TEST(Metadata, GoesFromFileToFileUnchanged)
{
    const Folder folder;
    SourceDescription source;
    source.metadata = samples::Described();
    const Metadata written = MetadataForPrint(source);
    EXPECT_FALSE(written.exif.empty() || written.xmp.empty() || written.iptc.empty());
    for (const std::string name : {"a.tif", "a.png"}) {
        SCOPED_TRACE(name);
        Write(folder / name, written);
        SourceDescription next = OpenImage(folder / name, {})->Describe();
        EXPECT_EQ(1, next.orientation);
        next.metadata = MetadataForPrint(next);
        EXPECT_EQ(written.exif, next.metadata.exif);
        EXPECT_EQ(written.xmp, next.metadata.xmp);
        EXPECT_EQ(written.iptc, next.metadata.iptc);
        // Each part alone, and pixels that know nothing of it.
        const std::vector<float> pixels = samples::ReadAll(folder / name);
        for (const Metadata& part : {Metadata{written.exif, {}, {}}, Metadata{{}, written.xmp, {}},
                                     Metadata{{}, {}, written.iptc}, Metadata{}})
        {
            Write(folder / name, part);
            const Metadata back = ReadBack(folder / name);
            EXPECT_EQ(part.exif.empty(), back.exif.empty());
            EXPECT_EQ(part.xmp, back.xmp);
            EXPECT_EQ(part.iptc.empty(), back.iptc.empty());
            EXPECT_EQ(pixels, samples::ReadAll(folder / name));
        }
    }
}

TEST(PngMetadata, IsFoundBehindThePixelsAndCheckedForDamage)
{
    const Folder folder;
    const std::string path = folder / "a.png";
    Write(path, {});
    const std::string bare = Content(path);
    const std::string packet = std::string("XML:com.adobe.xmp\0\0\0en\0key\0", 27) + "<x/>";
    const std::string exif =
        samples::Header(true) + samples::Directory({{274, 3, 1, Number(6, 4, true)}}, true);
    const auto with = [&](const std::string& chunks) {
        std::string bytes = bare;
        // Before the last chunk of 12 bytes.
        bytes.insert(bytes.size() - 12, chunks);
        samples::WriteBytes(path, bytes);
        return OpenImage(path, {})->Describe();
    };
    const SourceDescription found = with(PngChunk("iTXt", packet) + PngChunk("eXIf", exif));
    EXPECT_EQ(AsBytes("<x/>"), found.metadata.xmp);
    EXPECT_EQ(AsBytes(exif), found.metadata.exif);
    EXPECT_EQ(6, found.orientation);
    std::string damaged = PngChunk("eXIf", exif);
    damaged[12] ^= 1;
    EXPECT_TRUE(with(damaged).metadata.exif.empty());
    std::string other = packet;
    other[0] = 'Y';
    EXPECT_TRUE(with(PngChunk("iTXt", other)).metadata.xmp.empty());
    // Compressed packets are none; a length beyond the end ends the walk.
    other = packet;
    other[18] = 1;
    EXPECT_TRUE(with(PngChunk("iTXt", other)).metadata.xmp.empty());
    EXPECT_TRUE(with(Number(0xffffff, 4, false) + "iTXt" + packet).metadata.xmp.empty());
    // The first counts.
    EXPECT_EQ(AsBytes("<x/>"),
              with(PngChunk("iTXt", packet) + PngChunk("iTXt", packet + ' ')).metadata.xmp);
}

/// A file of one directory, classic or of 8-byte places, with Exif data behind it.
std::string TiffWith(bool isLittle, bool isBig, std::uint64_t exifPlaceDelta = 0)
{
    const int word = isBig ? 8 : 4;
    const auto number = [isLittle](std::uint64_t n, int count) {
        return Number(n, count, isLittle);
    };
    const auto entry = [&](unsigned tag, unsigned type, std::uint64_t count,
                           const std::string& value) {
        return number(tag, 2) + number(type, 2) + number(count, word) + value +
               std::string(static_cast<std::size_t>(word) - value.size(), '\0');
    };
    const std::size_t first = isBig ? 16 : 8;
    const std::size_t entryBytes = isBig ? 20 : 12;
    const std::size_t counter = isBig ? 8 : 2;
    const std::size_t exif = first + counter + 3 * entryBytes + static_cast<std::size_t>(word);
    const std::size_t values = exif + counter + entryBytes + static_cast<std::size_t>(word);
    const std::string iptc = std::string("\x1c\2\x50\0\3Ada", 8);
    return (isLittle ? "II" : "MM") +
           (isBig ? number(43, 2) + number(8, 2) + number(0, 2) + number(first, 8)
                  : number(42, 2) + number(first, 4)) +
           number(3, static_cast<int>(counter)) + entry(315, 2, 4, std::string("Ada\0", 4)) +
           entry(33723, 1, iptc.size(), isBig ? iptc : number(values + 8, 4)) +
           entry(34665, isBig ? 18 : 4, 1, number(exif + exifPlaceDelta, word)) + number(0, word) +
           number(1, static_cast<int>(counter)) +
           entry(33434, 5, 1, isBig ? number(1, 4) + number(60, 4) : number(values, 4)) +
           number(0, word) + number(1, 4) + number(60, 4) + iptc;
}

TEST(TiffMetadata, IsReadInEveryOrderAndWidth)
{
    const Folder folder;
    const std::string path = folder / "a.tif";
    samples::WriteBytes(path, TiffWith(true, false));
    const Metadata expected = ReadTiffMetadata(path);
    EXPECT_EQ(AsBytes(std::string("\x1c\2\x50\0\3Ada", 8)), expected.iptc);
    const TiffStructure exif(expected.exif);
    ASSERT_TRUE(exif.First());
    EXPECT_TRUE(exif.Find(*exif.First(), 315));
    const auto place = static_cast<std::size_t>(exif.Number(*exif.First(), 34665).value_or(0.0));
    EXPECT_DOUBLE_EQ(1.0 / 60.0, exif.Number(place, 33434).value_or(0.0));
    for (const bool isLittle : {true, false}) {
        for (const bool isBig : {true, false}) {
            SCOPED_TRACE(testing::Message() << isLittle << isBig);
            const std::string whole = TiffWith(isLittle, isBig);
            samples::WriteBytes(path, whole);
            const Metadata found = ReadTiffMetadata(path);
            EXPECT_EQ(expected.exif, found.exif);
            EXPECT_EQ(expected.iptc, found.iptc);
            samples::WriteBytes(path, TiffWith(isLittle, isBig, 1 << 20));
            EXPECT_LT(ReadTiffMetadata(path).exif.size(), expected.exif.size());
            samples::WriteBytes(path, whole.substr(0, whole.size() - 1));
            EXPECT_EQ(isBig, !ReadTiffMetadata(path).iptc.empty());
        }
    }
    EXPECT_TRUE(ReadTiffMetadata(folder / "none").exif.empty());
}

// Results of more than 4 GB have places of 8 bytes.
TEST(TiffMetadata, IsWrittenInBothWidths)
{
    const Folder folder;
    const std::string path = folder / "a.tif";
    const std::vector<NewEntry> exif = {
        MakeEntry(33434, 5, 1, AsBytes(Number(1, 4, true) + Number(60, 4, true)), true),
        MakeEntry(34855, 3, 1, AsBytes(Number(400, 2, true)), true),
        MakeEntry(42036, 2, 13, AsBytes(std::string("a lens of Ada", 13)), true)};
    for (const bool isBig : {false, true}) {
        const std::size_t first = isBig ? 16 : 8;
        const std::size_t place = 256;
        const NewEntry pointer = MakeEntry(34665, 4, 1, AsBytes(Number(place, 4, true)), true);
        std::string bytes = isBig ? "II" + Number(43, 2, true) + Number(8, 2, true) +
                                        Number(0, 2, true) + Number(first, 8, true)
                                  : samples::Header(true);
        for (const auto& [entries, at] :
             {std::pair{std::vector<NewEntry>{pointer}, first}, std::pair{exif, place}})
        {
            bytes.resize(at);
            const std::vector<unsigned char> directory = WriteDirectory(entries, at, isBig);
            bytes.append(directory.begin(), directory.end());
        }
        samples::WriteBytes(path, bytes);
        const ExifDirectories found = CopyExif(ReadTiffMetadata(path).exif);
        ASSERT_EQ(3U, found.exif.size());
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(exif[i].values, found.exif[i].values) << isBig << i;
        }
    }
}

} // namespace

} // namespace qva
