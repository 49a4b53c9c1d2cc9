#include "picture/print_metadata.h"

#include "picture/exif_copy.h"
#include "picture/exif_data.h"
#include "picture/iptc_copy.h"
#include "picture/xmp_copy.h"
#include "picture_kinds.h"
#include "tiff_bytes.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace qva {

namespace {

using samples::AsBytes;
using samples::Bytes;
using samples::Directory;
using samples::Header;
using samples::Number;

constexpr std::size_t mainPlace = 8;
constexpr std::size_t exifPlace = mainPlace + 2 + 6 * 12 + 4;
constexpr std::size_t gpsPlace = exifPlace + 2 + 6 * 12 + 4;
constexpr std::size_t thumbnailPlace = gpsPlace + 2 + 2 * 12 + 4;
constexpr std::size_t valuesPlace = thumbnailPlace + 2 + 12 + 4;

/// What a camera that was turned writes, in either order of bytes.
Bytes CameraExif(bool isLittle)
{
    const auto number = [isLittle](std::uint64_t n, int count = 4) {
        return Number(n, count, isLittle);
    };
    const auto half = [&number](std::uint64_t n) { return number(n, 2) + number(0, 2); };
    // A rational of 1/60 s; a comment of two letters, two bytes each; a maker note.
    const std::string values = number(1) + number(60) + std::string("UNICODE\0", 8) +
                               number('h', 2) + number('i', 2) + "maker's note";
    std::string main = Directory({{271, 2, 4, std::string("Ada\0", 4)},
                                  {274, 3, 1, half(6)},
                                  {282, 5, 1, number(valuesPlace)},
                                  {34665, 4, 1, number(exifPlace)},
                                  {34853, 4, 1, number(gpsPlace)},
                                  {33432, 2, 3, std::string("me\0\0", 4)}},
                                 isLittle);
    // The directory of the thumbnail behind the first.
    main.replace(main.size() - 4, 4, number(thumbnailPlace));
    return AsBytes(
        Header(isLittle) + main +
        Directory({{33434, 5, 1, number(valuesPlace)},
                   {34855, 3, 1, half(400)},
                   {37500, 7, 12, number(valuesPlace + 20)},
                   {37510, 7, 12, number(valuesPlace + 8)},
                   {40961, 3, 1, half(1)},
                   {59932, 7, 4, "pads"}},
                  isLittle) +
        Directory({{1, 2, 2, std::string("N\0\0\0", 4)}, {999, 1, 1, "abcd"}}, isLittle) +
        Directory({{513, 4, 1, number(valuesPlace)}}, isLittle) + values);
}

TEST(ExifCopy, KeepsTheShotAndLeavesOutTheFile)
{
    for (const bool isLittle : {true, false}) {
        SCOPED_TRACE(isLittle);
        ExifLeftOut leftOut;
        const Bytes written = WriteExif(CopyExif(CameraExif(isLittle), &leftOut));
        EXPECT_TRUE(leftOut.makerNote);
        EXPECT_TRUE(leftOut.thumbnail);
        EXPECT_EQ(5U, leftOut.entries); // 274, 282, 40961, 59932, 999
        const TiffStructure copy(written);
        ASSERT_TRUE(copy.First());
        EXPECT_FALSE(copy.Next(*copy.First()));
        EXPECT_EQ(1, ExifOrientation(written));
        std::string tags;
        for (const TiffEntry& entry : copy.Entries(*copy.First())) {
            tags += std::to_string(entry.tag) + ' ';
        }
        EXPECT_EQ("271 274 33432 34665 34853 ", tags);
        const auto exif = static_cast<std::size_t>(*copy.Number(*copy.First(), 34665));
        EXPECT_EQ(3U, copy.Entries(exif).size());
        EXPECT_DOUBLE_EQ(1.0 / 60.0, copy.Number(exif, 33434).value_or(0.0));
        EXPECT_EQ(400.0, copy.Number(exif, 34855).value_or(0.0));
        const auto comment = copy.Values(*copy.Find(exif, 37510));
        EXPECT_EQ(std::string("UNICODE\0h\0i\0", 12), std::string(comment.begin(), comment.end()));
        const auto gps = static_cast<std::size_t>(*copy.Number(*copy.First(), 34853));
        EXPECT_EQ(1U, copy.Entries(gps).size());
        // A copy of the copy is the same: both stages of a page make it.
        EXPECT_EQ(written, WriteExif(CopyExif(written)));
    }
}

// A thousand entries that all point at the same bytes would make gigabytes of kilobytes.
TEST(ExifCopy, IsNoLargerThanItsSource)
{
    std::vector<samples::Entry> entries;
    for (unsigned tag = 33434; tag < 33434 + 3000; ++tag) {
        entries.push_back({tag, 7, 30000, Number(8, 4, true)});
    }
    const Bytes exif =
        AsBytes(Header(true) + Directory({{34665, 4, 1, Number(26, 4, true)}}, true) +
                Directory(entries, true));
    std::size_t bytes = 0;
    for (const NewEntry& entry : CopyExif(exif).exif) {
        bytes += entry.values.size();
    }
    EXPECT_EQ(30000U, bytes);
}

std::string Packet(const std::string& attributes, const std::string& members)
{
    return "<x:xmpmeta xmlns:x='adobe:ns:meta/'>"
           "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
           "<rdf:Description rdf:about='' xmlns:dc='http://purl.org/dc/elements/1.1/' "
           "xmlns:tiff='http://ns.adobe.com/tiff/1.0/' "
           "xmlns:h='http://ns.adobe.com/hdr-gain-map/1.0/' "
           "xmlns:r='http://www.metadataworkinggroup.com/schemas/regions/'" +
           attributes + ">" + members + "</rdf:Description></rdf:RDF></x:xmpmeta>";
}

TEST(XmpCopy, CutsOutWhatIsTrueOfTheFileAlone)
{
    // What is kept and what is cut, as attributes and members; quotes and brackets within values,
    // empty elements right before an end.
    const struct {
        std::string attributes;
        std::string members;
        std::string keptAttributes;
        std::string keptMembers;
        std::size_t leftOut;
    } cases[] = {
        {" dc:a='1' tiff:Orientation='6' dc:b=\"2\"", "", " dc:a='1' dc:b=\"2\"", "", 1},
        {" dc:a=' tiff:Orientation=1 >'\n\ttiff:Orientation = \"'6>\"", "",
         " dc:a=' tiff:Orientation=1 >'\n", "", 1},
        {" tiff:Model='m'", "<h:Map><rdf:Seq><rdf:li>1</rdf:li></rdf:Seq></h:Map><dc:t>x</dc:t>",
         " tiff:Model='m'", "<dc:t>x</dc:t>", 1},
        {"", "<dc:t>x</dc:t><tiff:Orientation/>", "", "<dc:t>x</dc:t>", 1},
        {"", "<dc:t><h:a b='/>'/></dc:t><h:a></h:a>", "", "<dc:t></dc:t>", 2},
        {" h:a='1' h:b='2'", "<dc:t>x</dc:t><dc:format>f</dc:format>", "", "<dc:t>x</dc:t>", 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.attributes + c.members);
        const XmpCopy copy = CopyXmp(AsBytes(Packet(c.attributes, c.members) + '\0'), false);
        EXPECT_EQ(Packet(c.keptAttributes, c.keptMembers),
                  std::string(copy.packet.begin(), copy.packet.end()));
        EXPECT_EQ(c.leftOut, copy.leftOut);
        EXPECT_EQ(copy.packet, CopyXmp(copy.packet, false).packet);
    }
    EXPECT_EQ(3U, CopyXmp(AsBytes(Packet(" dc:a='1' tiff:Make='b'", "<dc:c/>")), false).kept);
}

TEST(XmpCopy, GivesNothingForShellsAndDamage)
{
    const XmpCopy shell = CopyXmp(AsBytes(Packet(" h:a='1'", "<tiff:XResolution/>")), false);
    EXPECT_TRUE(shell.packet.empty());
    EXPECT_FALSE(shell.isDamaged);
    const std::string whole = Packet(" dc:a='1'", "<h:b/>");
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const XmpCopy cut = CopyXmp(AsBytes(whole.substr(0, size)), false);
        EXPECT_TRUE(cut.isDamaged && cut.packet.empty()) << size;
    }
    const XmpCopy entities =
        CopyXmp(AsBytes("<!DOCTYPE x [<!ENTITY e '<h:a/>'>]>" + Packet(" dc:a='1'", "&e;")), false);
    EXPECT_TRUE(entities.isDamaged);
    EXPECT_TRUE(entities.packet.empty());
    // Regions lie elsewhere in a picture that was turned.
    const Bytes regions = AsBytes(Packet("", "<r:Regions/><dc:t/>"));
    EXPECT_EQ(regions, CopyXmp(regions, false).packet);
    EXPECT_EQ(1U, CopyXmp(regions, true).leftOut);
}

std::string Dataset(int record, int number, const std::string& text)
{
    return std::string{'\x1c', static_cast<char>(record), static_cast<char>(number)} +
           Number(text.size(), 2, false) + text;
}

TEST(IptcCopy, KeepsEnvelopeAndEditorialRecord)
{
    const std::string charset = Dataset(1, 90, "\x1b%G");
    const std::string byline = Dataset(2, 80, "Ada");
    const std::string extended = std::string("\x1c\2\x78\x80\4\0\0\0\5", 9) + "story";
    const IptcCopy copy =
        CopyIptc(AsBytes(charset + Dataset(2, 131, "L") + byline + Dataset(2, 202, "preview") +
                         Dataset(3, 20, "12") + extended + Dataset(7, 10, "1") + "\x1c\2"));
    EXPECT_EQ(AsBytes(charset + byline + extended), copy.datasets);
    EXPECT_EQ(3U, copy.kept);
    EXPECT_EQ(4U, copy.leftOut);
    EXPECT_TRUE(CopyIptc(AsBytes(charset)).datasets.empty());
    // Lengths beyond the end, also of lengths themselves.
    EXPECT_TRUE(CopyIptc(AsBytes(std::string("\x1c\2\x50\0\4Ada", 8))).datasets.empty());
    EXPECT_TRUE(CopyIptc(AsBytes(std::string("\x1c\2\x50\xff\xff\0\0", 7))).datasets.empty());
    EXPECT_TRUE(
        CopyIptc(AsBytes(std::string("\x1c\2\x50\x80\4\xff\xff\xff\xff", 9))).datasets.empty());
    for (const std::string text : {"", "a", "ab"}) {
        EXPECT_EQ(AsBytes(text), IptcOfResources(ResourcesOfIptc(AsBytes(text))));
    }
    // Behind another resource with a name of its own.
    const Bytes wanted = ResourcesOfIptc(AsBytes("abc"));
    Bytes both = AsBytes(std::string("8BIM\3\xe8\3key\0\0\0\1x\0", 16));
    both.insert(both.end(), wanted.begin(), wanted.end());
    EXPECT_EQ(AsBytes("abc"), IptcOfResources(both));
}

TEST(PrintMetadata, TellsWhatTravelsAndWhatDoesNot)
{
    SourceDescription source;
    EXPECT_TRUE(MetadataFindings(source).empty());
    source.metadata = samples::Described();
    source.metadata.exif = CameraExif(true);
    std::vector<Finding> findings = MetadataFindings(source);
    ASSERT_EQ(2U, findings.size());
    EXPECT_EQ("Exif (6 entries), XMP (2 properties), IPTC (2 datasets)", findings[0].text);
    EXPECT_EQ("maker note, thumbnail, true of the file alone: 5 of Exif, 1 of XMP",
              findings[1].text);
    source.metadata = {};
    source.metadata.exif.resize(mostMetadata + 1);
    findings = MetadataFindings(source);
    ASSERT_EQ(1U, findings.size());
    EXPECT_EQ("Exif of 4194305 bytes", findings[0].text);
    EXPECT_TRUE(MetadataForPrint(source).exif.empty());
}

} // namespace

} // namespace qva
