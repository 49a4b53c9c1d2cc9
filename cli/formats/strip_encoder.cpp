#include "formats/strip_encoder.h"

#include "base/workers.h"
#include "formats/deflater.h"
#include "formats/tiff_messages.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <tiffio.h>

namespace qva {

namespace {

// Rendered photographs of 16 bits come out no larger than at higher levels, a third faster.
constexpr int deflateLevel = 1;

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

void EncodeByLibrary(const TiffPage& page, std::int64_t strip, const std::uint16_t* codes,
                     EncodedStrip& out)
{
    constexpr std::ptrdiff_t headerBytes = 8;
    MemoryFile memory;
    std::string message;
    const auto options = MakeTiffOptions(message);
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(
        TIFFClientOpenExt("strip", "w", reinterpret_cast<thandle_t>(&memory), NoRead, WriteMemory,
                          SeekMemory, NoClose, MemorySize, nullptr, nullptr, options.get()),
        TIFFClose);
    // The encoder does not write into its input, though it takes a pointer that would let it.
    if (!tiff || !SetStripTags(tiff.get(), page, page.layout.LinesIn(strip)) ||
        TIFFWriteEncodedStrip(tiff.get(), 0, const_cast<std::uint16_t*>(codes),
                              static_cast<tmsize_t>(page.layout.SizeOf(strip))) < 0)
    {
        throw std::bad_alloc();
    }
    out.assign(memory.bytes.begin() + headerBytes, memory.bytes.end());
}

/// Encodes strip after strip on one thread.
class StripEncoder {
public:
    explicit StripEncoder(const TiffPage& page) : page_(page) {}

    void Encode(std::int64_t strip, const std::uint16_t* codes, EncodedStrip& out)
    {
        if (page_.settings.compression == Compression::None) {
            const auto* bytes = reinterpret_cast<const unsigned char*>(codes);
            out.assign(bytes, bytes + page_.layout.SizeOf(strip));
        } else if (page_.settings.compression == Compression::Deflate && Deflater::isQuick) {
            Subtract(page_.layout.LinesIn(strip), codes);
            deflater_.MakeStream({reinterpret_cast<const unsigned char*>(differences_.data()),
                                  page_.layout.SizeOf(strip)},
                                 out);
        } else {
            EncodeByLibrary(page_, strip, codes, out);
        }
    }

private:
    // TIFF 6.0, section 14: every sample but a line's first pixel becomes its difference to that of
    // the pixel before.
    void Subtract(std::int64_t lines, const std::uint16_t* codes)
    {
        const auto samples = static_cast<std::size_t>(page_.layout.lineLength * 3);
        differences_.resize(samples * static_cast<std::size_t>(page_.layout.stripLines));
        std::uint16_t* out = differences_.data();
        for (std::int64_t line = 0; line < lines; ++line, codes += samples, out += samples) {
            std::copy_n(codes, 3, out);
            for (std::size_t i = 3; i < samples; ++i) {
                out[i] = static_cast<std::uint16_t>(codes[i] - codes[i - 3]);
            }
        }
    }

    const TiffPage& page_;
    Deflater deflater_;
    std::vector<std::uint16_t> differences_;
};

} // namespace

bool SetStripTags(TIFF* tiff, const TiffPage& page, std::int64_t lines)
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

void EncodeStrips(const TiffPage& page, std::int64_t first, std::int64_t count,
                  const std::uint16_t* codes, const std::function<void(const EncodedStrip&)>& take)
{
    const std::int64_t samples = page.layout.stripLines * page.layout.lineLength * 3;
    const std::int64_t slots = UsualSlots();
    std::vector<EncodedStrip> strips(static_cast<std::size_t>(slots));
    std::vector<StripEncoder> encoders;
    for (std::int64_t i = 0; i < std::min<std::int64_t>(slots, Workers()); ++i) {
        encoders.emplace_back(page);
    }
    SlotSteps steps;
    steps.count = count;
    steps.slots = slots;
    steps.shared = [&](std::int64_t item, int worker) {
        encoders[static_cast<std::size_t>(worker)].Encode(
            first + item, codes + item * samples, strips[static_cast<std::size_t>(item % slots)]);
    };
    steps.ordered = [&](std::int64_t item) {
        take(strips[static_cast<std::size_t>(item % slots)]);
    };
    RunSharedFirst(steps);
}

} // namespace qva
