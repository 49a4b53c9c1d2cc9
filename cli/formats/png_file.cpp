#include "formats/png_file.h"

#include "base/descriptor.h"
#include "base/errors.h"

#include <cerrno>
#include <new>

namespace qva {

PngFile::PngFile(const OutputFile& file) : path_(file.Path())
{
    Descriptor descriptor = file.Duplicate();
    file_ = fdopen(descriptor.Get(), "wb");
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
    info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
    if (file_ != nullptr) {
        descriptor.Release();
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
    throw Failure(path_, errno != 0 ? WriteReason(errno) : "cannot be written: " + message_,
                  exitOutput);
}

void PngFile::SetHeader(ImageSize size, int bits, int level)
{
    Guard([&](png_structp file, png_infop info) {
        png_set_IHDR(file, info, static_cast<png_uint_32>(size.width),
                     static_cast<png_uint_32>(size.height), bits, PNG_COLOR_TYPE_RGB,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_compression_level(file, level);
    });
}

void PngFile::WriteChunk(const char* name, std::span<const unsigned char> data)
{
    Guard([&](png_structp png, png_infop) {
        png_write_chunk(png, reinterpret_cast<png_const_bytep>(name), data.data(), data.size());
    });
}

void PngFile::Finish()
{
    // All that describes the picture stands before its pixels; the library would write some twice.
    Guard([](png_structp png, png_infop) { png_write_end(png, nullptr); });
    Close();
}

void PngFile::Close()
{
    errno = 0;
    std::FILE* file = file_;
    file_ = nullptr;
    if (std::fclose(file) != 0) {
        Fail();
    }
}

} // namespace qva
