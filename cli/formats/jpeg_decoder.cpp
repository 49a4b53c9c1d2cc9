#include "formats/jpeg_decoder.h"

#include "base/errors.h"
#include "formats/image_source.h"
#include "picture/input_file.h"

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <fmt/format.h>
#include <jpeglib.h>

#include <jerror.h>

namespace qva {

namespace {

/// Warnings about what does no harm to the pixels; all others tell of lost data.
bool IsHarmless(int code)
{
    return code == JWRN_EXTRANEOUS_DATA || code == JWRN_JFIF_MAJOR || code == JWRN_ADOBE_XFORM ||
           code == JWRN_TOO_MUCH_DATA;
}

std::uint64_t CoefficientBytes(const jpeg_decompress_struct& jpeg)
{
    constexpr std::uint64_t blockBytes = sizeof(JCOEF) * DCTSIZE2;
    std::uint64_t bytes = 0;
    for (int k = 0; k < jpeg.num_components; ++k) {
        const jpeg_component_info& component = jpeg.comp_info[k];
        bytes += std::uint64_t{component.width_in_blocks} * component.height_in_blocks * blockBytes;
    }
    return bytes;
}

} // namespace

/// The library reports errors by a function that must not return, so every call to it stands in
/// Guard, in a body that holds no object with a destructor.
struct JpegDecoder::Engine {
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg_progress_mgr progress{};
    std::jmp_buf place{};
    char message[JMSG_LENGTH_MAX] = {};
    std::FILE* file = nullptr;

    ~Engine()
    {
        jpeg_destroy_decompress(&jpeg);
        if (file != nullptr) {
            std::fclose(file);
        }
    }

    [[noreturn]] void Leave(const char* text)
    {
        std::snprintf(message, sizeof message, "%s", text);
        std::longjmp(place, 1);
    }

    static Engine& Of(j_common_ptr jpeg) { return *static_cast<Engine*>(jpeg->client_data); }

    [[noreturn]] static void OnError(j_common_ptr jpeg)
    {
        char text[JMSG_LENGTH_MAX];
        jpeg->err->format_message(jpeg, text);
        Of(jpeg).Leave(text);
    }

    static void OnMessage(j_common_ptr jpeg, int level)
    {
        if (level < 0 && !IsHarmless(jpeg->err->msg_code)) {
            OnError(jpeg);
        }
    }

    /// A few bytes can make a scan that takes as long as a whole picture.
    static void OnProgress(j_common_ptr jpeg)
    {
        constexpr int mostScans = 500;
        if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > mostScans) {
            Of(jpeg).Leave("has more than 500 scans");
        }
    }
};

JpegDecoder::JpegDecoder() = default;
JpegDecoder::~JpegDecoder() = default;

template <typename Body>
void JpegDecoder::Guard(const Body& body)
{
    if (setjmp(engine_->place) != 0) {
        throw Failure(path_, fmt::format("cannot be read as JPEG: {}", engine_->message));
    }
    body();
}

void JpegDecoder::Open(const std::string& path, std::int64_t start, const SizeLimits& limits)
{
    path_ = path;
    engine_ = std::make_unique<Engine>();
    engine_->jpeg.client_data = engine_.get();
    engine_->jpeg.err = jpeg_std_error(&engine_->errors);
    engine_->errors.error_exit = Engine::OnError;
    engine_->errors.emit_message = Engine::OnMessage;
    engine_->progress.progress_monitor = Engine::OnProgress;
    engine_->file = std::fopen(path.c_str(), "rb");
    if (engine_->file == nullptr || fseeko(engine_->file, start, SEEK_SET) != 0) {
        throw Failure(path, SystemReason(errno));
    }
    ReadHeader(limits);
    Guard([this] { jpeg_start_decompress(&engine_->jpeg); });
}

void JpegDecoder::ReadHeader(const SizeLimits& limits)
{
    jpeg_decompress_struct& jpeg = engine_->jpeg;
    Guard([this, &jpeg] {
        jpeg_create_decompress(&jpeg);
        jpeg.progress = &engine_->progress;
        jpeg_stdio_src(&jpeg, engine_->file);
        jpeg_read_header(&jpeg, TRUE);
    });
    CheckSize(path_, Size(), limits);
    CheckPromise(path_, Size());
    CheckColours();
    jpeg.out_color_space = jpeg.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    decodeBytes_ = jpeg_has_multiple_scans(&jpeg) != FALSE ? CoefficientBytes(jpeg) : 0;
    CheckMemory(path_, "decoding the picture", decodeBytes_);
}

void JpegDecoder::CheckColours() const
{
    switch (engine_->jpeg.jpeg_color_space) {
    case JCS_GRAYSCALE:
    case JCS_RGB:
    case JCS_YCbCr:
        return;
    case JCS_CMYK:
        throw Failure(path_, "holds inks (CMYK); only grey, YCbCr and RGB can be read");
    case JCS_YCCK:
        throw Failure(path_, "holds inks (YCCK); only grey, YCbCr and RGB can be read");
    default:
        throw Failure(path_, fmt::format("has {} components; only grey, YCbCr and RGB can be read",
                                         engine_->jpeg.num_components));
    }
}

ImageSize JpegDecoder::Size() const
{
    return {engine_->jpeg.image_width, engine_->jpeg.image_height};
}

int JpegDecoder::Channels() const
{
    return engine_->jpeg.out_color_space == JCS_GRAYSCALE ? 1 : 3;
}

std::uint64_t JpegDecoder::DecodeBytes() const
{
    return decodeBytes_;
}

double JpegDecoder::Dpi() const
{
    const jpeg_decompress_struct& jpeg = engine_->jpeg;
    if (jpeg.saw_JFIF_marker == FALSE || jpeg.X_density != jpeg.Y_density) {
        return 0.0;
    }
    // JFIF 1.02: 1 is the inch, 2 the centimetre.
    return jpeg.density_unit == 1   ? jpeg.X_density
           : jpeg.density_unit == 2 ? jpeg.X_density * 2.54
                                    : 0.0;
}

void JpegDecoder::ReadRow(unsigned char* codes)
{
    Guard([this, codes] {
        JSAMPROW row = codes;
        jpeg_read_scanlines(&engine_->jpeg, &row, 1);
    });
}

void JpegDecoder::Close()
{
    engine_.reset();
}

} // namespace qva
