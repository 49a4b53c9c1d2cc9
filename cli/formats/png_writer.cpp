// Rendered pages as 16-bit PNG, side-by-side sheets as 8-bit PNG.
#include "base/errors.h"
#include "colour/icc_builder.h"
#include "formats/image_writer.h"

#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <png.h>
#include <unistd.h>

namespace qva {

namespace {

/// One PNG being written. The library reports errors by longjmp, so every call to it stands in
/// Guard, in a body that holds no object with a destructor.
class PngFile {
public:
    explicit PngFile(const OutputFile& file);
    ~PngFile();
    PngFile(const PngFile&) = delete;
    PngFile& operator=(const PngFile&) = delete;

    template <typename Body>
    void Guard(const Body& body)
    {
        errno = 0;
        if (setjmp(png_jmpbuf(png_)) != 0) {
            Fail();
        }
        body(png_, info_);
    }
    void Finish();

private:
    [[noreturn]] void Fail() const;
    static void OnError(png_structp png, png_const_charp message)
    {
        static_cast<PngFile*>(png_get_error_ptr(png))->message_ = message;
        png_longjmp(png, 1);
    }
    static void OnWarning(png_structp, png_const_charp) {}

    std::string path_;
    std::string message_;
    std::FILE* file_ = nullptr;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

PngFile::PngFile(const OutputFile& file) : path_(file.Path())
{
    const int descriptor = file.Duplicate();
    file_ = fdopen(descriptor, "wb");
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
    info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
    if (file_ == nullptr) {
        close(descriptor);
    }
    if (file_ == nullptr || info_ == nullptr) {
        throw std::bad_alloc();
    }
    Guard([this](png_structp png, png_infop) {
        png_set_user_limits(png, 0x7fffffff, 0x7fffffff);
        png_init_io(png, file_);
    });
}

PngFile::~PngFile()
{
    png_destroy_write_struct(&png_, &info_);
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

void PngFile::Fail() const
{
    throw Failure(path_, "cannot be written: " + (errno != 0 ? SystemReason(errno) : message_));
}

void PngFile::Finish()
{
    Guard([](png_structp png, png_infop info) { png_write_end(png, info); });
    std::FILE* file = file_;
    file_ = nullptr;
    if (std::fclose(file) != 0) {
        Fail();
    }
}

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

void WriteHeader(PngFile& png, ImageSize size, int bits, int level)
{
    png.Guard([&](png_structp file, png_infop info) {
        png_set_IHDR(file, info, static_cast<png_uint_32>(size.width),
                     static_cast<png_uint_32>(size.height), bits, PNG_COLOR_TYPE_RGB,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_compression_level(file, level);
    });
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
    WriteHeader(png_, size, 16, settings.compression == Compression::None ? 0 : quickLevel);
    const std::vector<unsigned char> profile = RenderedProfile();
    unsigned char codePoints[4] = {9, 4, 0, 1};
    const png_unknown_chunk chunk = CodePointsChunk(codePoints);
    const auto perMetre = static_cast<png_uint_32>(std::lround(settings.dpi / 0.0254));
    png_.Guard([&](png_structp out, png_infop info) {
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

void WriteSrgbPng(const OutputFile& file, ImageSize size, const std::vector<unsigned char>& rgb)
{
    PngFile png(file);
    WriteHeader(png, size, 8, 6);
    png.Guard([](png_structp out, png_infop info) {
        png_set_sRGB_gAMA_and_cHRM(out, info, PNG_sRGB_INTENT_RELATIVE);
        png_write_info(out, info);
    });
    for (std::int64_t row = 0; row < size.height; ++row) {
        const unsigned char* bytes = rgb.data() + row * size.width * 3;
        png.Guard([bytes](png_structp out, png_infop) { png_write_row(out, bytes); });
    }
    png.Finish();
}

} // namespace qva
