// Rendered pages as 16-bit TIFF.
#include "errors.h"
#include "image_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <fmt/format.h>
#include <tiffio.h>
#include <unistd.h>

namespace qva {

namespace {

int OnError(TIFF*, void* message, const char*, const char* format, va_list arguments)
{
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    *static_cast<std::string*>(message) = text;
    return 1;
}

[[noreturn]] void Fail(const OutputFile& file, const std::string& message)
{
    // The system knows the reason better than the library: it says "no space left on device".
    const std::string reason = errno != 0 ? SystemReason(errno) : message;
    throw Failure(file.Path(), "cannot be written: " + reason);
}

std::uint32_t RowsPerStrip(const Page& page)
{
    constexpr std::int64_t stripBytes = 1 << 18;
    return static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(stripBytes / (page.size.width * 6), 1, page.size.height));
}

bool SetTags(TIFF* tiff, const Page& page, const WriteSettings& settings,
             const std::vector<unsigned char>& profile)
{
    const bool packed = settings.compression != Compression::None;
    const int scheme =
        settings.compression == Compression::Lzw ? COMPRESSION_LZW : COMPRESSION_ADOBE_DEFLATE;
    const auto width = static_cast<std::uint32_t>(page.size.width);
    const auto height = static_cast<std::uint32_t>(page.size.height);
    bool done = TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width) == 1 &&
                TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height) == 1 &&
                TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 16) == 1 &&
                TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3) == 1 &&
                TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) == 1 &&
                TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
                TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) == 1 &&
                TIFFSetField(tiff, TIFFTAG_COMPRESSION, packed ? scheme : COMPRESSION_NONE) == 1 &&
                TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, RowsPerStrip(page)) == 1 &&
                TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()),
                             profile.data()) == 1 &&
                TIFFSetField(tiff, TIFFTAG_SOFTWARE, "qva") == 1;
    if (packed) {
        done = done && TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL) == 1;
    }
    if (settings.dpi > 0.0) {
        done = done && TIFFSetField(tiff, TIFFTAG_XRESOLUTION, settings.dpi) == 1 &&
               TIFFSetField(tiff, TIFFTAG_YRESOLUTION, settings.dpi) == 1 &&
               TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) == 1;
    }
    return done;
}

bool WriteStrips(TIFF* tiff, const Page& page, Progress& progress)
{
    const std::int64_t rows = RowsPerStrip(page);
    for (std::int64_t first = 0; first < page.size.height; first += rows) {
        const std::int64_t count = std::min(rows, page.size.height - first);
        std::uint16_t* codes = page.codes.get() + first * page.size.width * 3;
        if (TIFFWriteEncodedStrip(tiff, static_cast<std::uint32_t>(first / rows), codes,
                                  count * page.size.width * 6) < 0)
        {
            return false;
        }
        progress.Show("writing",
                      static_cast<double>(first + count) / static_cast<double>(page.size.height));
    }
    return TIFFWriteDirectory(tiff) == 1 && TIFFFlush(tiff) == 1;
}

} // namespace

void WriteTiff(const OutputFile& file, const Page& page, const WriteSettings& settings,
               const std::vector<unsigned char>& profile, Progress& progress)
{
    // Classic TIFF ends at 4 GiB; what compression saves cannot be known before.
    constexpr std::int64_t classicLimit = 4000000000;
    const char* mode = page.size.width * page.size.height * 6 > classicLimit ? "w8" : "w";
    std::string message;
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(
        TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, &message);
    const int descriptor = file.Duplicate();
    errno = 0;
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(
        TIFFFdOpenExt(descriptor, file.Path().c_str(), mode, options.get()), TIFFClose);
    if (!tiff) {
        close(descriptor);
        Fail(file, message);
    }
    errno = 0;
    if (!SetTags(tiff.get(), page, settings, profile) || !WriteStrips(tiff.get(), page, progress)) {
        Fail(file, message);
    }
}

} // namespace qva
