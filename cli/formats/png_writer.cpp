// Rendered pages as 16-bit PNG.
#include "colour/icc_builder.h"
#include "formats/png_file.h"
#include "formats/writer_table.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace qva {

namespace {

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

class PngWriter : public RowWriter {
public:
    PngWriter(const OutputFile& file, ImageSize size, const WriteSettings& settings);

    void Write(const std::uint16_t* codes, std::int64_t count) override
    {
        for (std::int64_t row = 0; row < count; ++row) {
            const auto* bytes =
                reinterpret_cast<const unsigned char*>(codes + row * size_.width * 3);
            png_.Guard([bytes](png_structp out, png_infop) { png_write_row(out, bytes); });
        }
    }
    void Finish() override { png_.Finish(); }

private:
    ImageSize size_;
    PngFile png_;
};

PngWriter::PngWriter(const OutputFile& file, ImageSize size, const WriteSettings& settings)
    : size_(size), png_(file)
{
    // Photographs of 16 bits shrink little more at higher levels, but take several times longer.
    constexpr int quickLevel = 4;
    png_.SetHeader(size, 16, settings.compression == Compression::None ? 0 : quickLevel);
    const std::vector<unsigned char> profile = RenderedProfile();
    unsigned char codePoints[4] = {9, 4, 0, 1};
    const png_unknown_chunk chunk = CodePointsChunk(codePoints);
    const auto perMetre = static_cast<png_uint_32>(std::lround(settings.dpi / 0.0254));
    char key[] = "Software";
    std::string software = SoftwareText(settings.renderedFor);
    png_text text{};
    text.compression = PNG_TEXT_COMPRESSION_NONE;
    text.key = key;
    text.text = software.data();
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
        png_set_swap(out);
    });
}

} // namespace

std::unique_ptr<RowWriter> MakePngWriter(const OutputFile& file, ImageSize size,
                                         const WriteSettings& settings)
{
    return std::make_unique<PngWriter>(file, size, settings);
}

} // namespace qva
