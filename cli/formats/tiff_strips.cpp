#include "formats/tiff_strips.h"

#include "base/errors.h"
#include "formats/image_source.h"
#include "picture/input_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <fmt/format.h>
#include <limits>
#include <sys/types.h>
#include <tiffio.h>
#include <unistd.h>
#include <zlib.h>

namespace qva {

namespace {

// Rendered photographs of 16 bits come out no larger than at higher levels, a third faster.
constexpr int deflateLevel = 1;

int OnError(TIFF*, void* message, const char*, const char* format, va_list arguments)
{
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    try {
        *static_cast<std::string*>(message) = text;
    } catch (const std::bad_alloc&) {
        // The library cannot be passed by an exception; the failure is told without a reason.
    }
    return 1;
}

int OnWarning(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

/// Options that keep messages in a string.
std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> MakeOptions(std::string& message)
{
    std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                         TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, &message);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, nullptr);
    return options;
}

bool SetLayout(TIFF* tiff, const TiffPage& page, std::int64_t lines)
{
    const Compression compression = page.settings.compression;
    const int scheme = compression == Compression::None  ? COMPRESSION_NONE
                       : compression == Compression::Lzw ? COMPRESSION_LZW
                                                         : COMPRESSION_ADOBE_DEFLATE;
    const auto width = static_cast<std::uint32_t>(page.layout.lineLength);
    const auto stripLines = static_cast<std::uint32_t>(std::min(page.layout.stripLines, lines));
    return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width) == 1 &&
           TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(lines)) == 1 &&
           TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 16) == 1 &&
           TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3) == 1 &&
           TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) == 1 &&
           TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
           TIFFSetField(tiff, TIFFTAG_ORIENTATION, page.orientation) == 1 &&
           TIFFSetField(tiff, TIFFTAG_COMPRESSION, scheme) == 1 &&
           (compression == Compression::None ||
            TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL) == 1) &&
           (compression != Compression::Deflate ||
            TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, deflateLevel) == 1) &&
           TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, stripLines) == 1;
}

bool SetText(TIFF* tiff, const TiffPage& page)
{
    bool done = TIFFSetField(tiff, TIFFTAG_SOFTWARE, "qva") == 1;
    if (!page.profile.empty()) {
        done = done && TIFFSetField(tiff, TIFFTAG_ICCPROFILE,
                                    static_cast<std::uint32_t>(page.profile.size()),
                                    page.profile.data()) == 1;
    }
    if (page.settings.dpi > 0.0) {
        done = done && TIFFSetField(tiff, TIFFTAG_XRESOLUTION, page.settings.dpi) == 1 &&
               TIFFSetField(tiff, TIFFTAG_YRESOLUTION, page.settings.dpi) == 1 &&
               TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) == 1;
    }
    return done;
}

/// What the library reads and writes through: a growing block of memory.
struct MemoryFile {
    std::vector<unsigned char> bytes;
    std::size_t position = 0;
};

tmsize_t NoRead(thandle_t, void*, tmsize_t)
{
    return -1;
}

tmsize_t WriteMemory(thandle_t handle, void* data, tmsize_t count)
{
    auto& file = *reinterpret_cast<MemoryFile*>(handle);
    const auto size = static_cast<std::size_t>(count);
    // The library cannot be passed by an exception, and closing a strip writes as well.
    try {
        file.bytes.resize(std::max(file.bytes.size(), file.position + size));
    } catch (const std::bad_alloc&) {
        return -1;
    }
    std::memcpy(file.bytes.data() + file.position, data, size);
    file.position += size;
    return count;
}

toff_t SeekMemory(thandle_t handle, toff_t offset, int origin)
{
    auto& file = *reinterpret_cast<MemoryFile*>(handle);
    file.position = offset + (origin == SEEK_END   ? file.bytes.size()
                              : origin == SEEK_CUR ? file.position
                                                   : 0);
    return file.position;
}

toff_t MemorySize(thandle_t handle)
{
    return reinterpret_cast<MemoryFile*>(handle)->bytes.size();
}

int NoClose(thandle_t)
{
    return 0;
}

EncodedStrip EncodeStrip(const TiffPage& page, std::int64_t strip, const std::uint16_t* codes)
{
    constexpr std::ptrdiff_t headerBytes = 8;
    MemoryFile memory;
    std::string message;
    const auto options = MakeOptions(message);
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(
        TIFFClientOpenExt("strip", "w", reinterpret_cast<thandle_t>(&memory), NoRead, WriteMemory,
                          SeekMemory, NoClose, MemorySize, nullptr, nullptr, options.get()),
        TIFFClose);
    // The encoder does not write into its input, though it takes a pointer that would let it.
    if (!tiff || !SetLayout(tiff.get(), page, page.layout.LinesIn(strip)) ||
        TIFFWriteEncodedStrip(tiff.get(), 0, const_cast<std::uint16_t*>(codes),
                              static_cast<tmsize_t>(page.layout.SizeOf(strip))) < 0)
    {
        throw std::bad_alloc();
    }
    return {memory.bytes.begin() + headerBytes, memory.bytes.end()};
}

} // namespace

std::int64_t StripLayout::LinesIn(std::int64_t strip) const
{
    return std::min(stripLines, lines - strip * stripLines);
}

std::size_t StripLayout::SizeOf(std::int64_t strip) const
{
    return static_cast<std::size_t>(LinesIn(strip) * lineLength * 6);
}

std::int64_t StripLines(std::int64_t lineLength, std::int64_t lines)
{
    constexpr std::int64_t stripBytes = 1 << 18;
    return std::clamp<std::int64_t>(stripBytes / (lineLength * 6), 1, lines);
}

std::vector<EncodedStrip> EncodeStrips(const TiffPage& page, std::int64_t first, std::int64_t count,
                                       const std::uint16_t* codes)
{
    const std::int64_t samples = page.layout.stripLines * page.layout.lineLength * 3;
    std::vector<EncodedStrip> strips(static_cast<std::size_t>(count));
    bool failed = false;
#pragma omp parallel for schedule(dynamic)
    for (std::int64_t i = 0; i < count; ++i) {
        try {
            strips[static_cast<std::size_t>(i)] = EncodeStrip(page, first + i, codes + i * samples);
        } catch (const std::bad_alloc&) {
#pragma omp atomic write
            failed = true;
        }
    }
    if (failed) {
        throw std::bad_alloc();
    }
    return strips;
}

/// The file below a StripWriter. What is kept is not written again.
struct StripWriter::File {
    int descriptor;
    std::string name;
    std::string message;
    int error = 0;
    bool keeping = false;
    toff_t position = 0;
    toff_t size = 0;

    static File& Of(thandle_t handle) { return *reinterpret_cast<File*>(handle); }

    static tmsize_t Write(thandle_t handle, void* data, tmsize_t count)
    {
        File& file = Of(handle);
        const char* from = static_cast<const char*>(data);
        for (tmsize_t left = file.keeping ? 0 : count; left > 0;) {
            const ssize_t done = pwrite(file.descriptor, from, static_cast<std::size_t>(left),
                                        static_cast<off_t>(file.position) + (count - left));
            if (done < 0 && errno == EINTR) {
                continue;
            }
            if (done <= 0) {
                file.error = done < 0 ? errno : EIO;
                return -1;
            }
            from += done;
            left -= done;
        }
        file.position += static_cast<toff_t>(count);
        file.size = std::max(file.size, file.position);
        return count;
    }

    static toff_t Seek(thandle_t handle, toff_t offset, int origin)
    {
        File& file = Of(handle);
        file.position = offset + (origin == SEEK_END   ? file.size
                                  : origin == SEEK_CUR ? file.position
                                                       : 0);
        return file.position;
    }

    static toff_t Size(thandle_t handle) { return Of(handle).size; }

    [[noreturn]] void Fail() const
    {
        // The system knows the reason better than the library: it says "no space left on device".
        throw Failure(name, "cannot be written: " + (error != 0 ? SystemReason(error) : message));
    }
};

StripWriter::StripWriter(int descriptor, const std::string& name, const TiffPage& page)
    : file_(std::make_unique<File>()), tiff_(nullptr, TIFFCleanup)
{
    file_->descriptor = descriptor;
    file_->name = name;
    // Classic TIFF ends at 4 GiB. What compression saves cannot be known before, and LZW makes
    // noise half as long again.
    const std::int64_t classicLimit =
        page.settings.compression == Compression::Lzw ? 2800000000 : 4000000000;
    const bool isBig = page.layout.lines * page.layout.lineLength * 6 > classicLimit;
    const auto options = MakeOptions(file_->message);
    tiff_.reset(TIFFClientOpenExt(
        name.c_str(), isBig ? "w8" : "w", reinterpret_cast<thandle_t>(file_.get()), NoRead,
        File::Write, File::Seek, NoClose, File::Size, nullptr, nullptr, options.get()));
    if (!tiff_ || !SetLayout(tiff_.get(), page, page.layout.lines) || !SetText(tiff_.get(), page)) {
        file_->Fail();
    }
}

// Without the flush of a close: an unfinished file has no use for a directory.
StripWriter::~StripWriter()
{
    file_->keeping = true;
}

void StripWriter::Write(const void* bytes, std::size_t count)
{
    if (TIFFWriteRawStrip(tiff_.get(), static_cast<std::uint32_t>(next_), const_cast<void*>(bytes),
                          static_cast<tmsize_t>(count)) < 0)
    {
        file_->Fail();
    }
    ++next_;
}

void StripWriter::Keep(std::uint64_t size)
{
    const std::vector<unsigned char> unseen(size);
    file_->keeping = true;
    Write(unseen.data(), unseen.size());
    file_->keeping = false;
}

void StripWriter::Append(const EncodedStrip& strip)
{
    Write(strip.data(), strip.size());
}

std::int64_t StripWriter::End() const
{
    return static_cast<std::int64_t>(file_->size);
}

std::uint32_t StripWriter::Checksum(std::uint32_t before, const EncodedStrip& strip)
{
    return static_cast<std::uint32_t>(
        crc32_z(before, reinterpret_cast<const Bytef*>(strip.data()), strip.size()));
}

void StripWriter::Finish(const std::string& description)
{
    if ((!description.empty() &&
         TIFFSetField(tiff_.get(), TIFFTAG_IMAGEDESCRIPTION, description.c_str()) != 1) ||
        TIFFWriteDirectory(tiff_.get()) != 1 || TIFFFlush(tiff_.get()) != 1)
    {
        file_->Fail();
    }
}

struct StripReader::File {
    std::string message;
    std::unique_ptr<TIFF, void (*)(TIFF*)> tiff{nullptr, TIFFClose};
};

StripReader::StripReader(const std::string& path) : path_(path), file_(std::make_unique<File>())
{
    fileBytes_ = SizeOfRegularFile(path);
    const auto options = MakeOptions(file_->message);
    file_->tiff.reset(TIFFOpenExt(path.c_str(), "rm", options.get()));
    TIFF* tiff = file_->tiff.get();
    if (tiff == nullptr) {
        Fail("cannot be read");
    }
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t stripLines = 0;
    std::uint16_t bits = 0;
    std::uint16_t samples = 0;
    std::uint16_t scheme = 0;
    float dpi = 0.0f;
    const char* text = nullptr;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &stripLines);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &scheme);
    if (width == 0 || height == 0 || stripLines == 0 || bits != 16 || samples != 3 ||
        TIFFIsTiled(tiff) != 0)
    {
        Fail("is not a rendered page in strips");
    }
    CheckSize(path, {width, height}, {std::numeric_limits<std::uint64_t>::max()});
    // LZW makes 4093 bytes of 12 bits, more than anything else that a share is compressed with.
    CheckPromise(path, {width, height}, std::uint64_t{width} * height * 6, 2729);
    CheckMemory(path, "a strip", std::uint64_t{width} * std::min(stripLines, height) * 6);
    page_.layout = {width, height, std::min(stripLines, height)};
    page_.settings.compression = scheme == COMPRESSION_NONE  ? Compression::None
                                 : scheme == COMPRESSION_LZW ? Compression::Lzw
                                                             : Compression::Deflate;
    if (TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &dpi) == 1) {
        page_.settings.dpi = static_cast<double>(dpi);
    }
    if (TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text) == 1) {
        page_.description = text;
    }
}

StripReader::~StripReader() = default;
StripReader::StripReader(StripReader&&) noexcept = default;
StripReader& StripReader::operator=(StripReader&&) noexcept = default;

void StripReader::Fail(const std::string& what) const
{
    throw Failure(path_, file_->message.empty() ? what : what + ": " + file_->message);
}

EncodedStrip StripReader::Encoded(std::int64_t strip)
{
    const auto index = static_cast<std::uint32_t>(strip);
    const std::uint64_t size = TIFFGetStrileByteCount(file_->tiff.get(), index);
    // Compression can make a strip of noise a little longer, not twice as long.
    if (size == 0 || size > fileBytes_ || size > 2 * page_.layout.SizeOf(strip) + 1024) {
        Fail("is damaged: a strip has no sensible length");
    }
    EncodedStrip bytes(size);
    if (TIFFReadRawStrip(file_->tiff.get(), index, bytes.data(), static_cast<tmsize_t>(size)) !=
        static_cast<tmsize_t>(size))
    {
        Fail("is damaged");
    }
    return bytes;
}

void StripReader::Decode(std::int64_t strip, std::uint16_t* codes)
{
    const auto size = static_cast<tmsize_t>(page_.layout.SizeOf(strip));
    if (TIFFReadEncodedStrip(file_->tiff.get(), static_cast<std::uint32_t>(strip), codes, size) !=
        size) {
        Fail("is damaged");
    }
}

} // namespace qva
