#include "jpeg_samples.h"

#include "tiff_bytes.h"

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <jpeglib.h>

namespace qva::samples {

namespace {

/// The directory of two pictures, as CIPA DC-007 has it.
std::string PictureDirectory(std::uint64_t firstBytes, std::uint64_t mapBytes, std::uint64_t place,
                             bool isLittle)
{
    const auto number = [isLittle](std::uint64_t value) { return Number(value, 4, isLittle); };
    const std::string pictures = number(0x30000) + number(firstBytes) + number(0) + number(0) +
                                 number(0) + number(mapBytes) + number(place) + number(0);
    return std::string("MPF\0", 4) + Header(isLittle) +
           Directory({{0xb000, 7, 4, "0100"}, {0xb001, 4, 1, number(2)}, {0xb002, 7, 32, pictures}},
                     isLittle, 8);
}

std::string SegmentBytes(int number, const std::string& content)
{
    return std::string("\xff") + static_cast<char>(0xe0 + number) +
           Number(content.size() + 2, 2, false) + content;
}

} // namespace

std::string Jpeg(ImageSize size, const std::vector<unsigned char>& codes, const JpegKind& kind)
{
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* bytes = nullptr;
    unsigned long count = 0;
    jpeg_mem_dest(&jpeg, &bytes, &count);
    jpeg.image_width = static_cast<JDIMENSION>(size.width);
    jpeg.image_height = static_cast<JDIMENSION>(size.height);
    jpeg.input_components = kind.channels;
    jpeg.in_color_space = kind.channels == 1   ? JCS_GRAYSCALE
                          : kind.channels == 3 ? JCS_RGB
                                               : JCS_CMYK;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 100, TRUE);
    for (int k = 0; k < jpeg.num_components; ++k) {
        jpeg.comp_info[k].h_samp_factor = 1;
        jpeg.comp_info[k].v_samp_factor = 1;
    }
    jpeg.density_unit = kind.dotsPerInch > 0 ? 1 : 0;
    jpeg.X_density = static_cast<UINT16>(kind.dotsPerInch);
    jpeg.Y_density = static_cast<UINT16>(kind.dotsPerInch);
    if (kind.isProgressive) {
        jpeg_simple_progression(&jpeg);
    }
    jpeg_start_compress(&jpeg, TRUE);
    for (const Segment& segment : kind.segments) {
        jpeg_write_marker(&jpeg, JPEG_APP0 + segment.first,
                          reinterpret_cast<const JOCTET*>(segment.second.data()),
                          static_cast<unsigned>(segment.second.size()));
    }
    const auto rowBytes = static_cast<std::size_t>(size.width * kind.channels);
    std::vector<unsigned char> row(rowBytes);
    for (std::size_t y = 0; y < static_cast<std::size_t>(size.height); ++y) {
        row.assign(codes.begin() + static_cast<std::ptrdiff_t>(y * rowBytes),
                   codes.begin() + static_cast<std::ptrdiff_t>((y + 1) * rowBytes));
        JSAMPROW rows = row.data();
        jpeg_write_scanlines(&jpeg, &rows, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::string stream(reinterpret_cast<const char*>(bytes), count);
    std::free(bytes);
    return stream;
}

std::string WithMap(const std::string& picture, const std::string& map, bool isLittle)
{
    constexpr std::size_t segmentBytes = 90;
    constexpr std::size_t header = 10; // of the directory, from which places count
    const std::uint64_t first = picture.size() + segmentBytes;
    const std::string directory =
        SegmentBytes(2, PictureDirectory(first, map.size(), first - header, isLittle));
    return picture.substr(0, 2) + directory + picture.substr(2) + map;
}

Segment IsoSegment(int version)
{
    std::string record = std::string("urn:iso:std:iso:ts:21496:-1\0", 28);
    record += Number(static_cast<std::uint64_t>(version), 2, false) + Number(0, 2, false) + '\x40';
    for (const unsigned number : {0U, 1U, 2U, 1U, 0U, 1U, 2U, 1U, 1U, 1U, 0U, 1U, 0U, 1U}) {
        record += Number(number, 4, false);
    }
    return {2, record};
}

Segment XmpSegment(const std::string& properties)
{
    return {1, std::string("http://ns.adobe.com/xap/1.0/\0", 29) +
                   "<x:xmpmeta xmlns:x='adobe:ns:meta/'><r:RDF "
                   "xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><r:Description "
                   "xmlns:g='http://ns.adobe.com/hdr-gain-map/1.0/' "
                   "xmlns:h='http://ns.apple.com/HDRGainMap/1.0/' "
                   "xmlns:p='http://ns.apple.com/pixeldatainfo/1.0/' "
                   "xmlns:c='http://ns.google.com/photos/1.0/container/' "
                   "xmlns:i='http://ns.google.com/photos/1.0/container/item/' " +
                   properties + "</r:Description></r:RDF></x:xmpmeta>"};
}

Segment HdrgmSegment(const std::string& version)
{
    return XmpSegment("g:Version='" + version +
                      "' g:GainMapMax='2' g:HDRCapacityMax='2' g:OffsetSDR='0' g:OffsetHDR='0'>");
}

Segment AppleSegment()
{
    return XmpSegment("><p:AuxiliaryImageType>urn:com:apple:photo:2020:aux:hdrgainmap"
                      "</p:AuxiliaryImageType><h:HDRGainMapHeadroom>4.0</h:HDRGainMapHeadroom>");
}

Segment ExifSegment(const std::vector<std::pair<int, int>>& entries, bool isLittle)
{
    std::vector<Entry> all;
    for (const auto& [tag, value] : entries) {
        all.push_back({static_cast<unsigned>(tag), 3, 1,
                       Number(static_cast<std::uint64_t>(value), 2, isLittle)});
    }
    return {1, std::string("Exif\0\0", 6) + Header(isLittle) + Directory(all, isLittle)};
}

} // namespace qva::samples
