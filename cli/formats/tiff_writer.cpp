// Rendered pages as 16-bit TIFF.
#include "base/descriptor.h"
#include "colour/icc_builder.h"
#include "formats/row_gatherer.h"
#include "formats/strip_encoder.h"
#include "formats/strip_writer.h"
#include "formats/writer_table.h"

namespace qva {

namespace {

class TiffWriter : public RowWriter {
public:
    TiffWriter(const OutputFile& file, ImageSize size, const WriteSettings& settings)
        : page_{{size.width, size.height, StripLines(size.width, size.height)},
                settings,
                RenderedProfile(),
                1,
                ""},
          descriptor_(file.Duplicate()),
          strips_(descriptor_.Get(), file.Path(), page_),
          rows_(size.width * 3, size.height, stripsAtOnce * page_.layout.stripLines,
                [this](const std::uint16_t* codes, std::int64_t lines) { Encode(codes, lines); })
    {
    }

    void Write(const std::uint16_t* codes, std::int64_t count) override { rows_.Add(codes, count); }
    std::int64_t RowsAtOnce() const override { return rows_.AtOnce(); }
    void Finish() override { strips_.Finish(); }

private:
    // So many that there is little waiting for the last of them.
    static constexpr std::int64_t stripsAtOnce = 64;

    /// @param lines  whole strips, or all that are left.
    void Encode(const std::uint16_t* codes, std::int64_t lines)
    {
        const std::int64_t stripLines = page_.layout.stripLines;
        const std::int64_t count = (lines + stripLines - 1) / stripLines;
        EncodeStrips(page_, next_, count, codes,
                     [this](const EncodedStrip& strip) { strips_.Append(strip); });
        next_ += count;
    }

    TiffPage page_;
    Descriptor descriptor_;
    StripWriter strips_;
    RowGatherer rows_;
    std::int64_t next_ = 0; ///< the first strip that is not encoded yet
};

} // namespace

std::unique_ptr<RowWriter> MakeTiffWriter(const OutputFile& file, ImageSize size,
                                          const WriteSettings& settings)
{
    if (settings.device) {
        return MakeDeviceTiffWriter(file, size, settings);
    }
    return std::make_unique<TiffWriter>(file, size, settings);
}

} // namespace qva
