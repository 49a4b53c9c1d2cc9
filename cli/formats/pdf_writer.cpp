// Device values as a PDF of one page.
#include "base/workers.h"
#include "formats/deflater.h"
#include "formats/device_rows.h"
#include "formats/pdf_file.h"
#include "formats/pdf_page.h"
#include "formats/row_gatherer.h"
#include "formats/tiff_strips.h"
#include "formats/writer_table.h"

#include <algorithm>
#include <fmt/format.h>
#include <zlib.h>

namespace qva {

namespace {

constexpr std::int64_t piecesAtOnce = 64;

std::string_view TextOf(const std::vector<unsigned char>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

struct Piece {
    std::vector<unsigned char> values;
    std::vector<unsigned char> deflated;
    std::uint32_t checksum = 0; ///< Adler-32 of the values
};

/// The pixels are one zlib stream, made of pieces that know nothing of each other; what refers to
/// them comes behind.
class PdfWriter : public RowWriter {
public:
    PdfWriter(const OutputFile& file, ImageSize size, const WriteSettings& settings);

    void Write(const std::uint16_t* codes, std::int64_t count) override { rows_.Add(codes, count); }
    std::int64_t RowsAtOnce() const override { return rows_.AtOnce(); }
    void Finish() override;

private:
    bool IsPlain() const { return settings_.compression == Compression::None; }
    int WriteProfile();
    int WritePhotoPacket();
    /// @param rows  whole pieces, or all that are left.
    void Encode(const std::uint16_t* codes, std::int64_t rows);
    void MakePiece(const CodeRows& rows, Deflater& deflater, Piece& piece) const;
    void Append(const Piece& piece);
    void EndPixels();
    int WritePage(int pages);
    void WriteCatalog(int pages, const std::string& digest);
    std::string Digest() const;

    ImageSize size_;
    WriteSettings settings_;
    double dpi_;
    PdfFile pdf_;
    int profile_;
    int image_;
    std::int64_t pieceRows_;
    std::int64_t next_ = 0;      ///< the first row that is not in the file yet
    std::uint32_t checksum_ = 1; ///< Adler-32 of all pixels before
    RowGatherer rows_;
};

PdfWriter::PdfWriter(const OutputFile& file, ImageSize size, const WriteSettings& settings)
    : size_(size),
      settings_(settings),
      dpi_(settings.dpi > 0.0 ? settings.dpi : assumedDpi),
      pdf_(file),
      profile_(WriteProfile()),
      image_(pdf_.NewNumber()),
      pieceRows_(StripLines(size.width, size.height)),
      rows_(size.width * 3, size.height, piecesAtOnce * pieceRows_,
            [this](const std::uint16_t* codes, std::int64_t rows) { Encode(codes, rows); })
{
    const int packet = settings.metadata.xmp.empty() ? 0 : WritePhotoPacket();
    pdf_.BeginStream(image_, PdfImageEntries(size, settings, profile_, packet));
    if (!IsPlain()) {
        // RFC 1950, 2.2: deflate with a window of 32 kB, compressed quickly.
        pdf_.Append("\x78\x01");
    }
}

int PdfWriter::WriteProfile()
{
    std::vector<unsigned char> deflated;
    Deflater().MakeStream(settings_.device->Profile(), deflated);
    const int number = pdf_.NewNumber();
    pdf_.WriteStream(number, PdfProfileEntries(*settings_.device), TextOf(deflated));
    return number;
}

int PdfWriter::WritePhotoPacket()
{
    const int number = pdf_.NewNumber();
    pdf_.WriteStream(number, "/Type /Metadata /Subtype /XML", TextOf(settings_.metadata.xmp));
    return number;
}

void PdfWriter::MakePiece(const CodeRows& rows, Deflater& deflater, Piece& piece) const
{
    MakeDeviceRows(*settings_.device, rows,
                   IsPlain() ? DeviceRowForm::BigEndian : DeviceRowForm::FilteredBytes,
                   piece.values);
    piece.checksum = Deflater::Adler32(1, piece.values);
    if (!IsPlain()) {
        deflater.MakePiece(piece.values, rows.first + rows.count == size_.height, piece.deflated);
    }
}

void PdfWriter::Append(const Piece& piece)
{
    pdf_.Append(TextOf(IsPlain() ? piece.values : piece.deflated));
    checksum_ = static_cast<std::uint32_t>(
        adler32_combine(checksum_, piece.checksum, static_cast<z_off_t>(piece.values.size())));
}

void PdfWriter::Encode(const std::uint16_t* codes, std::int64_t rows)
{
    std::vector<Piece> pieces(static_cast<std::size_t>(UsualSlots()));
    std::vector<Deflater> deflaters(
        static_cast<std::size_t>(std::min<std::int64_t>(UsualSlots(), Workers())));
    SlotSteps steps;
    steps.count = (rows + pieceRows_ - 1) / pieceRows_;
    steps.slots = UsualSlots();
    steps.shared = [&](std::int64_t item, int worker) {
        const std::int64_t first = item * pieceRows_;
        MakePiece({codes + first * size_.width * 3, size_.width, next_ + first,
                   std::min(pieceRows_, rows - first)},
                  deflaters[static_cast<std::size_t>(worker)],
                  pieces[static_cast<std::size_t>(item % steps.slots)]);
    };
    steps.ordered = [&](std::int64_t item) {
        Append(pieces[static_cast<std::size_t>(item % steps.slots)]);
    };
    RunSharedFirst(steps);
    next_ += rows;
}

void PdfWriter::EndPixels()
{
    if (!IsPlain()) {
        const char checksum[] = {static_cast<char>(checksum_ >> 24),
                                 static_cast<char>(checksum_ >> 16),
                                 static_cast<char>(checksum_ >> 8), static_cast<char>(checksum_)};
        pdf_.Append({checksum, sizeof checksum});
    }
    pdf_.EndStream();
}

int PdfWriter::WritePage(int pages)
{
    const int drawing = pdf_.NewNumber();
    pdf_.WriteStream(drawing, "", PdfDrawing(size_, dpi_, "Page"));
    const int page = pdf_.NewNumber();
    pdf_.WriteObject(page, fmt::format("<< /Type /Page /Parent {} 0 R {} /Resources << /XObject << "
                                       "/Page {} 0 R >> >> /Contents {} 0 R >>",
                                       pages, PdfPageEntries(size_, dpi_, settings_.bleed), image_,
                                       drawing));
    return page;
}

// Of what is on the page alone: the same page has the same bytes whenever it is written.
std::string PdfWriter::Digest() const
{
    return fmt::format("{:016x}{:08x}{:08x}", DigestOf(settings_.device->Profile()), checksum_,
                       static_cast<std::uint32_t>(size_.width * 65537 + size_.height));
}

void PdfWriter::WriteCatalog(int pages, const std::string& digest)
{
    const std::string title = "Page for " + settings_.device->Description();
    const std::string program = SoftwareText(settings_.renderedFor);
    const int packet = pdf_.NewNumber();
    pdf_.WriteStream(packet, "/Type /Metadata /Subtype /XML", PdfPacket(title, program, digest));
    const int intent = pdf_.NewNumber();
    pdf_.WriteObject(intent,
                     fmt::format("<< {} >>", PdfIntentEntries(*settings_.device, profile_)));
    const int information = pdf_.NewNumber();
    pdf_.WriteObject(information,
                     fmt::format("<< /Title {} /Creator {} /Producer {} /Trapped /False >>",
                                 PdfText(title), PdfText(program), PdfText(program)));
    const int catalog = pdf_.NewNumber();
    pdf_.WriteObject(catalog, fmt::format("<< /Type /Catalog /Pages {} 0 R /Metadata {} 0 R "
                                          "/OutputIntents [{} 0 R] >>",
                                          pages, packet, intent));
    pdf_.Finish(fmt::format("/Root {} 0 R /Info {} 0 R /ID [<{}> <{}>]", catalog, information,
                            digest, digest));
}

void PdfWriter::Finish()
{
    EndPixels();
    const int pages = pdf_.NewNumber();
    const int page = WritePage(pages);
    pdf_.WriteObject(pages, fmt::format("<< /Type /Pages /Kids [{} 0 R] /Count 1 >>", page));
    WriteCatalog(pages, Digest());
}

} // namespace

std::unique_ptr<RowWriter> MakePdfWriter(const OutputFile& file, ImageSize size,
                                         const WriteSettings& settings)
{
    return std::make_unique<PdfWriter>(file, size, settings);
}

} // namespace qva
