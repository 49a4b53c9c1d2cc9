// Rendered pages as 16-bit PNG.
#include "base/workers.h"
#include "colour/icc_builder.h"
#include "formats/png_file.h"
#include "formats/png_metadata.h"
#include "formats/png_pieces.h"
#include "formats/row_gatherer.h"
#include "formats/writer_table.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>
#include <zlib.h>

namespace qva {

namespace {

// So many that there is little waiting for the last of them.
constexpr std::int64_t piecesAtOnce = 64;

/// The code points of what the library writes: primaries of BT.2020 (9), a display of the power
/// 2.2 (4), RGB (0), full range (1); ITU-T H.273, tables 2 to 4.
png_unknown_chunk CodePointsChunk(unsigned char (&data)[4])
{
    png_unknown_chunk chunk{};
    std::memcpy(chunk.name, "cICP", 5);
    chunk.data = data;
    chunk.size = sizeof data;
    chunk.location = PNG_HAVE_IHDR;
    return chunk;
}

/// A text of a PNG. The library takes what it may not change as if it could.
png_text Text(const char* keyword, const std::string& text, int compression)
{
    static char none[] = "";
    png_text chunk{};
    chunk.compression = compression;
    chunk.key = const_cast<char*>(keyword);
    chunk.text = const_cast<char*>(text.data());
    chunk.lang = none;
    chunk.lang_key = none;
    if (compression == PNG_ITXT_COMPRESSION_NONE) {
        chunk.itxt_length = text.size();
    } else {
        chunk.text_length = text.size();
    }
    return chunk;
}

void SetMetadata(PngFile& file, const Metadata& metadata)
{
    std::vector<unsigned char> exif = metadata.exif;
    const std::string xmp(metadata.xmp.begin(), metadata.xmp.end());
    const std::string iptc = metadata.iptc.empty() ? "" : PngIptcText(metadata.iptc);
    const png_text packet = Text(pngXmpKeyword, xmp, PNG_ITXT_COMPRESSION_NONE);
    const png_text datasets = Text(pngIptcKeyword, iptc, PNG_TEXT_COMPRESSION_zTXt);
    file.Guard([&](png_structp out, png_infop info) {
        if (!exif.empty()) {
            png_set_eXIf_1(out, info, static_cast<png_uint_32>(exif.size()), exif.data());
        }
        if (!xmp.empty()) {
            png_set_text(out, info, &packet, 1);
        }
        if (!iptc.empty()) {
            png_set_text(out, info, &datasets, 1);
        }
    });
}

/// The picture's data are one zlib stream, made of pieces that know nothing of each other.
class PngWriter : public RowWriter {
public:
    PngWriter(const OutputFile& file, ImageSize size, const WriteSettings& settings);

    void Write(const std::uint16_t* codes, std::int64_t count) override { rows_.Add(codes, count); }
    std::int64_t RowsAtOnce() const override { return rows_.AtOnce(); }
    void Finish() override;

private:
    void WriteHeader(const WriteSettings& settings);
    void Encode(const std::uint16_t* codes, std::int64_t rows);
    void WriteData(const PngPiece& piece);

    ImageSize size_;
    bool isPacked_;
    PngFile png_;
    std::int64_t next_ = 0;            ///< the first row that is not encoded yet
    std::vector<std::uint16_t> above_; ///< the row before it
    std::uint32_t checksum_ = 1;
    RowGatherer rows_;
};

PngWriter::PngWriter(const OutputFile& file, ImageSize size, const WriteSettings& settings)
    : size_(size),
      isPacked_(settings.compression != Compression::None),
      png_(file),
      rows_(size.width * 3, size.height, piecesAtOnce * PngPieceRows(size),
            [this](const std::uint16_t* codes, std::int64_t rows) { Encode(codes, rows); })
{
    WriteHeader(settings);
    // RFC 1950, 2.2: deflate with a window of 32 kB, compressed quickly.
    const unsigned char zlibHeader[] = {0x78, 0x01};
    png_.WriteChunk("IDAT", zlibHeader);
}

void PngWriter::WriteHeader(const WriteSettings& settings)
{
    png_.SetHeader(size_, 16, 0);
    const std::vector<unsigned char> profile = RenderedProfile();
    unsigned char codePoints[4] = {9, 4, 0, 1};
    const png_unknown_chunk chunk = CodePointsChunk(codePoints);
    const auto perMetre = static_cast<png_uint_32>(std::lround(settings.dpi / 0.0254));
    SetMetadata(png_, settings.metadata);
    const std::string software = SoftwareText(settings.renderedFor);
    const png_text text = Text("Software", software, PNG_TEXT_COMPRESSION_NONE);
    png_.Guard([&](png_structp out, png_infop info) {
        if (settings.renderedFor) {
            png_set_text(out, info, &text, 1);
        }
        png_set_iCCP(out, info, "BT.2020 gamma 2.2", PNG_COMPRESSION_TYPE_BASE, profile.data(),
                     static_cast<png_uint_32>(profile.size()));
        png_set_unknown_chunks(out, info, &chunk, 1);
        png_set_keep_unknown_chunks(out, PNG_HANDLE_CHUNK_ALWAYS, nullptr, 0);
        if (perMetre > 0) {
            png_set_pHYs(out, info, perMetre, perMetre, PNG_RESOLUTION_METER);
        }
        png_write_info(out, info);
    });
}

void PngWriter::Encode(const std::uint16_t* codes, std::int64_t rows)
{
    const std::int64_t samples = size_.width * 3;
    const std::int64_t pieceRows = PngPieceRows(size_);
    std::vector<PngPiece> pieces(static_cast<std::size_t>(UsualSlots()));
    std::vector<PngPieceEncoder> encoders;
    for (std::int64_t i = 0; i < std::min<std::int64_t>(UsualSlots(), Workers()); ++i) {
        encoders.emplace_back(size_, isPacked_);
    }
    SlotSteps steps;
    steps.count = (rows + pieceRows - 1) / pieceRows;
    steps.slots = UsualSlots();
    steps.shared = [&](std::int64_t item, int worker) {
        const std::int64_t first = item * pieceRows;
        const std::uint16_t* above = first > 0 ? codes + (first - 1) * samples : above_.data();
        encoders[static_cast<std::size_t>(worker)].Encode(
            {codes + first * samples, next_ + first > 0 ? above : nullptr, next_ + first,
             std::min(pieceRows, rows - first)},
            pieces[static_cast<std::size_t>(item % steps.slots)]);
    };
    steps.ordered = [&](std::int64_t item) {
        WriteData(pieces[static_cast<std::size_t>(item % steps.slots)]);
    };
    RunSharedFirst(steps);
    above_.assign(codes + (rows - 1) * samples, codes + rows * samples);
    next_ += rows;
}

void PngWriter::WriteData(const PngPiece& piece)
{
    png_.WriteChunk("IDAT", piece.bytes);
    checksum_ = static_cast<std::uint32_t>(
        adler32_combine(checksum_, piece.checksum, static_cast<z_off_t>(piece.length)));
}

void PngWriter::Finish()
{
    unsigned char checksum[4];
    png_save_uint_32(checksum, checksum_);
    png_.WriteChunk("IDAT", checksum);
    png_.WriteChunk("IEND", {});
    png_.Close();
}

} // namespace

std::unique_ptr<RowWriter> MakePngWriter(const OutputFile& file, ImageSize size,
                                         const WriteSettings& settings)
{
    return std::make_unique<PngWriter>(file, size, settings);
}

} // namespace qva
