// PNG pictures of 8 or 16 bits.
#include "base/errors.h"
#include "base/scratch_file.h"
#include "formats/format_table.h"
#include "formats/png_metadata.h"
#include "picture/exif_data.h"
#include "picture/input_file.h"
#include "picture/rendered_for.h"

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <png.h>
#include <string_view>
#include <vector>

namespace qva {

namespace {

/// The library reports errors by longjmp, so every call to it stands in Guard, in a body that
/// holds no object with a destructor.
class PngSource : public ImageSource {
public:
    ~PngSource() override { PngSource::Close(); }
    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override;
    void ReadSamples(std::int64_t count, std::uint16_t* samples) override;
    void Close() override;

private:
    template <typename Body>
    void Guard(const Body& body);
    static void OnError(png_structp png, png_const_charp message);
    static void OnWarning(png_structp png, png_const_charp message);
    void ReadHeader();
    std::uint64_t PackedBytes() const;
    void ReadColour();
    void ReadUnknownChunks();
    void ReadCodePoints(const png_unknown_chunk& chunk);
    void ReadMastering(const png_unknown_chunk& chunk);
    void ReadLightLevels(const png_unknown_chunk& chunk);
    void ReadMetadata();
    void PrepareRows();
    void ReadAllPasses();
    void ReadRow();
    template <typename T>
    void CopyRow(T* out) const;

    SourceDescription description_;
    std::FILE* file_ = nullptr;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::string message_;
    bool profileRefused_ = false;
    std::size_t rowBytes_ = 0;
    std::int64_t next_ = 0;
    std::vector<unsigned char> row_;
    std::unique_ptr<ScratchFile> passes_; ///< all rows, where the file is interlaced
};

void PngSource::OnError(png_structp png, png_const_charp message)
{
    static_cast<PngSource*>(png_get_error_ptr(png))->message_ = message;
    png_longjmp(png, 1);
}

// What is wrong with a profile is only worth a warning to the library, which goes on without it.
void PngSource::OnWarning(png_structp png, png_const_charp message)
{
    if (std::strncmp(message, "iCCP", 4) == 0) {
        static_cast<PngSource*>(png_get_error_ptr(png))->profileRefused_ = true;
    }
}

template <typename Body>
void PngSource::Guard(const Body& body)
{
    if (setjmp(png_jmpbuf(png_)) != 0) {
        throw Failure(description_.path, fmt::format("cannot be read as PNG: {}", message_));
    }
    body();
}

void PngSource::Open(const std::string& path, const SizeLimits& limits)
{
    Close();
    profileRefused_ = false;
    description_ = {};
    description_.path = path;
    description_.format = "PNG";
    file_ = std::fopen(path.c_str(), "rb");
    if (file_ == nullptr) {
        throw Failure(path, SystemReason(errno));
    }
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
    if (png_ == nullptr || (info_ = png_create_info_struct(png_)) == nullptr) {
        throw std::bad_alloc();
    }
    ReadHeader();
    CheckSize(path, description_.size, limits);
    // Deflate makes 258 bytes of two bits.
    CheckPromise(path, description_.size, PackedBytes(), 1032);
    ReadColour();
    ReadUnknownChunks();
    ReadMetadata();
    PrepareRows();
}

void PngSource::ReadHeader()
{
    Guard([this] {
        // The limits are the caller's; the library's own stop at a million.
        png_set_user_limits(png_, 0x7fffffff, 0x7fffffff);
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_ALWAYS,
                                    reinterpret_cast<png_const_bytep>("cICP\0mDCV\0cLLI"), 3);
        // Nobody asks for these, and a thousand times eight megabytes fit into one of eight.
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER,
                                    reinterpret_cast<png_const_bytep>("zTXt\0iTXt\0sPLT"), 3);
        png_init_io(png_, file_);
        png_read_info(png_, info_);
    });
    const int type = png_get_color_type(png_, info_);
    description_.size = {png_get_image_width(png_, info_), png_get_image_height(png_, info_)};
    description_.bits = png_get_bit_depth(png_, info_) == 16 ? 16 : 8;
    description_.isGrey = (type & PNG_COLOR_MASK_COLOR) == 0;
    description_.hasAlpha = (type & PNG_COLOR_MASK_ALPHA) != 0;
    description_.isInterlaced = png_get_interlace_type(png_, info_) != PNG_INTERLACE_NONE;
}

std::uint64_t PngSource::PackedBytes() const
{
    return png_get_rowbytes(png_, info_) * static_cast<std::uint64_t>(description_.size.height);
}

void PngSource::ReadColour()
{
    ColourTags& tags = description_.tags;
    png_charp name = nullptr;
    int method = 0;
    png_bytep profile = nullptr;
    png_uint_32 size = 0;
    if (png_get_iCCP(png_, info_, &name, &method, &profile, &size) != 0) {
        tags.profile.assign(profile, profile + size);
    } else if (profileRefused_) {
        // Not without a word: other colours would be printed. No profile is so short.
        tags.profile.assign(1, 0);
    }
    png_uint_32 x = 0;
    png_uint_32 y = 0;
    int unit = 0;
    if (png_get_pHYs(png_, info_, &x, &y, &unit) != 0 && unit == PNG_RESOLUTION_METER && x == y) {
        description_.dpi = ResolutionOf(x * 0.0254);
    }
    tags.srgb = png_get_valid(png_, info_, PNG_INFO_sRGB) != 0;
    double gamma = 0.0;
    if (png_get_gAMA(png_, info_, &gamma) != 0 && gamma > 0.0) {
        tags.gamma = 1.0 / gamma;
    }
    png_textp texts = nullptr;
    for (int i = png_get_text(png_, info_, &texts, nullptr) - 1; i >= 0; --i) {
        if (std::strcmp(texts[i].key, "Software") == 0) {
            AddPaper(texts[i].text, description_);
        }
    }
    Chromaticities c;
    if (png_get_cHRM(png_, info_, &c.white.x, &c.white.y, &c.red.x, &c.red.y, &c.green.x,
                     &c.green.y, &c.blue.x, &c.blue.y) != 0)
    {
        tags.chromaticities = c;
    }
}

std::uint32_t Number(const unsigned char* bytes, int count)
{
    std::uint32_t number = 0;
    for (int i = 0; i < count; ++i) {
        number = number << 8 | bytes[i];
    }
    return number;
}

void PngSource::ReadUnknownChunks()
{
    png_unknown_chunkp chunks = nullptr;
    const int count = png_get_unknown_chunks(png_, info_, &chunks);
    for (int i = 0; i < count; ++i) {
        const std::string_view name(reinterpret_cast<const char*>(chunks[i].name), 4);
        if (name == "cICP" && !description_.tags.codePoints) {
            ReadCodePoints(chunks[i]);
        } else if (name == "mDCV") {
            ReadMastering(chunks[i]);
        } else if (name == "cLLI") {
            ReadLightLevels(chunks[i]);
        }
    }
}

void PngSource::ReadCodePoints(const png_unknown_chunk& chunk)
{
    if (chunk.size != 4) {
        throw Failure(description_.path, "its cICP chunk has not 4 bytes");
    }
    const png_byte* data = chunk.data;
    description_.tags.codePoints = CodePoints{data[0], data[1], data[2], data[3] != 0};
}

// PNG, third edition, 11.3.2.7: chromaticities of R, G, B and white in units of 0.00002, highest
// and lowest luminance in units of 0.0001 cd/m².
void PngSource::ReadMastering(const png_unknown_chunk& chunk)
{
    if (chunk.size != 24) {
        description_.notes.emplace_back("its mDCV chunk has not 24 bytes and is ignored");
        return;
    }
    Chromaticities found;
    const png_byte* data = chunk.data;
    for (Chromaticity* xy : {&found.red, &found.green, &found.blue, &found.white}) {
        *xy = {Number(data, 2) * 0.00002, Number(data + 2, 2) * 0.00002};
        data += 4;
    }
    description_.findings.push_back(
        {"mastered on",
         fmt::format("{} primaries, {:.6g} to {:.6g} cd/m2 (mDCV chunk)", NameOfPrimaries(found),
                     Number(data + 4, 4) * 0.0001, Number(data, 4) * 0.0001)});
}

// PNG, third edition, 11.3.2.8: MaxCLL and MaxFALL in units of 0.0001 cd/m²; 0 is unknown.
void PngSource::ReadLightLevels(const png_unknown_chunk& chunk)
{
    if (chunk.size != 8) {
        description_.notes.emplace_back("its cLLI chunk has not 8 bytes and is ignored");
        return;
    }
    const auto level = [&chunk](std::size_t place) {
        const std::uint32_t value = Number(chunk.data + place, 4);
        return value == 0 ? std::string("not stated") : fmt::format("{:.6g} cd/m2", value * 0.0001);
    };
    description_.findings.push_back(
        {"light levels",
         fmt::format("brightest pixel {}, frame average {} (cLLI chunk)", level(0), level(4))});
}

// The library would have to be given all pixels first, where a program wrote it behind them.
void PngSource::ReadMetadata()
{
    description_.metadata = ReadPngMetadata(description_.path);
    description_.orientation = ExifOrientation(description_.metadata.exif);
}

void PngSource::PrepareRows()
{
    Guard([this] {
        png_set_palette_to_rgb(png_);
        if (description_.isGrey) {
            png_set_expand_gray_1_2_4_to_8(png_);
            png_set_gray_to_rgb(png_);
        }
        png_set_strip_alpha(png_);
        if (description_.bits == 16) {
            png_set_swap(png_);
        }
        png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
        rowBytes_ = png_get_rowbytes(png_, info_);
    });
    const auto width = static_cast<std::size_t>(description_.size.width);
    if (rowBytes_ != width * 3 * static_cast<std::size_t>(description_.bits / 8)) {
        throw Failure(description_.path, "its kind of pixels cannot be read");
    }
    next_ = 0;
    row_.resize(rowBytes_);
    passes_.reset();
    if (description_.isInterlaced) {
        ReadAllPasses();
    }
}

// Each pass adds pixels to rows of the one before. The rows wait on disk: a picture may be larger
// than memory.
void PngSource::ReadAllPasses()
{
    passes_ = std::make_unique<ScratchFile>(ScratchFile::CommonFolder());
    for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) {
        for (std::int64_t row = 0; row < description_.size.height; ++row) {
            const std::int64_t place = row * static_cast<std::int64_t>(rowBytes_);
            if (pass > 0) {
                passes_->Read(place, row_.data(), rowBytes_);
            }
            Guard([this] { png_read_row(png_, row_.data(), nullptr); });
            passes_->Write(place, row_.data(), rowBytes_);
        }
    }
}

void PngSource::ReadRow()
{
    if (passes_) {
        passes_->Read(next_ * static_cast<std::int64_t>(rowBytes_), row_.data(), rowBytes_);
    } else {
        Guard([this] { png_read_row(png_, row_.data(), nullptr); });
    }
    ++next_;
}

void PngSource::ReadRows(std::int64_t count, float* rgb)
{
    for (std::int64_t row = 0; row < count; ++row) {
        ReadRow();
        CopyRow(rgb + row * description_.size.width * 3);
    }
}

void PngSource::ReadSamples(std::int64_t count, std::uint16_t* samples)
{
    for (std::int64_t row = 0; row < count; ++row) {
        ReadRow();
        CopyRow(samples + row * description_.size.width * 3);
    }
}

template <typename T>
void PngSource::CopyRow(T* out) const
{
    const auto samples = static_cast<std::size_t>(description_.size.width * 3);
    if (description_.bits == 8) {
        std::copy_n(row_.data(), samples, out);
        return;
    }
    for (std::size_t i = 0; i < samples; ++i) {
        std::uint16_t code = 0;
        std::memcpy(&code, row_.data() + i * 2, 2);
        out[i] = code;
    }
}

void PngSource::Close()
{
    png_destroy_read_struct(&png_, &info_, nullptr);
    if (file_ != nullptr) {
        std::fclose(file_);
        file_ = nullptr;
    }
}

} // namespace

std::unique_ptr<ImageSource> MakePngSource()
{
    return std::make_unique<PngSource>();
}

} // namespace qva
