// JPEG XL pictures, with and without a container.
#include "base/errors.h"
#include "base/scratch_file.h"
#include "formats/format_table.h"
#include "formats/jxl_stream.h"
#include "picture/input_file.h"

#include <cmath>
#include <cstring>
#include <exception>
#include <fmt/format.h>
#include <mutex>
#include <vector>

namespace qva {

namespace {

/// Pixels come out of the decoder in no order of rows. They wait on disk: a picture may be larger
/// than memory.
class JxlSource : public ImageSource {
public:
    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override;
    void SkipRows(std::int64_t count) override { next_ += count; }
    void Close() override { pixels_.reset(); }

private:
    void Decode(const SizeLimits& limits);
    void TakeInfo(const JxlStream& stream, const SizeLimits& limits);
    void TakeExtraChannels(const JxlStream& stream);
    void TakeColour(const JxlStream& stream);
    bool TakeEncoding(const JxlStream& stream);
    void TakeProfile(const JxlStream& stream);
    void Finish(const JxlStream& stream, JxlDecoderStatus status, bool isComplete);
    void SetOutput(const JxlStream& stream);
    static void OnPixels(void* source, std::size_t x, std::size_t y, std::size_t count,
                         const void* pixels);
    void CopyRow(float* out) const;

    SourceDescription description_;
    JxlBasicInfo info_{};
    JxlPixelFormat format_{};
    std::size_t sampleBytes_ = 0;
    std::int64_t rowBytes_ = 0;
    std::int64_t next_ = 0;
    std::vector<unsigned char> row_;
    std::unique_ptr<ScratchFile> pixels_;
    std::mutex failureLock_;
    std::exception_ptr failure_; ///< of the file on disk, which the decoder cannot be passed by
};

// The light of a picture without a statement: the encoder's own default.
constexpr float unstatedIntensity = 255.0f;

bool HasEncodedOriginal(const JxlStream& stream)
{
    JxlColorEncoding encoding;
    return JxlDecoderGetColorAsEncodedProfile(stream.Decoder(), nullptr,
                                              JXL_COLOR_PROFILE_TARGET_ORIGINAL,
                                              &encoding) == JXL_DEC_SUCCESS;
}

/// @return the transfer function of ITU-T H.273, table 3; 2 where it has none.
int TransferOf(const JxlColorEncoding& encoding)
{
    switch (encoding.transfer_function) {
    case JXL_TRANSFER_FUNCTION_709:
    case JXL_TRANSFER_FUNCTION_LINEAR:
    case JXL_TRANSFER_FUNCTION_SRGB:
    case JXL_TRANSFER_FUNCTION_PQ:
    case JXL_TRANSFER_FUNCTION_HLG:
        return encoding.transfer_function;
    case JXL_TRANSFER_FUNCTION_GAMMA:
        // Stated with seven digits.
        return std::abs(encoding.gamma * 2.2 - 1.0) < 1e-5   ? 4
               : std::abs(encoding.gamma * 2.8 - 1.0) < 1e-5 ? 5
                                                             : 2;
    default:
        return 2;
    }
}

/// @return the primaries of ITU-T H.273, table 2; 2 where they stand for themselves.
int PrimariesOf(const JxlColorEncoding& encoding)
{
    const bool isD65 = encoding.white_point == JXL_WHITE_POINT_D65;
    if (encoding.primaries == JXL_PRIMARIES_P3) {
        return isD65 ? 12 : encoding.white_point == JXL_WHITE_POINT_DCI ? 11 : 2;
    }
    const bool isNamed =
        encoding.primaries == JXL_PRIMARIES_SRGB || encoding.primaries == JXL_PRIMARIES_2100;
    return isNamed && isD65 ? encoding.primaries : 2;
}

Chromaticities ChromaticitiesOf(const JxlColorEncoding& encoding)
{
    const auto convert = [](const double* xy) { return Chromaticity{xy[0], xy[1]}; };
    return {convert(encoding.primaries_red_xy), convert(encoding.primaries_green_xy),
            convert(encoding.primaries_blue_xy), convert(encoding.white_point_xy)};
}

void JxlSource::Open(const std::string& path, const SizeLimits& limits)
{
    next_ = 0;
    if (pixels_ && path == description_.path) {
        // Decoded already.
        CheckSize(path, description_.size, limits);
        return;
    }
    Close();
    description_ = {};
    description_.path = path;
    description_.format = "JPEG XL";
    failure_ = nullptr;
    try {
        Decode(limits);
    } catch (...) {
        Close();
        throw;
    }
    row_.resize(static_cast<std::size_t>(rowBytes_));
}

void JxlSource::Decode(const SizeLimits& limits)
{
    JxlStream stream(description_.path);
    bool isComplete = false;
    for (;;) {
        const JxlDecoderStatus status = stream.Next();
        if (status == JXL_DEC_BASIC_INFO) {
            TakeInfo(stream, limits);
        } else if (status == JXL_DEC_COLOR_ENCODING) {
            TakeColour(stream);
        } else if (status == JXL_DEC_NEED_IMAGE_OUT_BUFFER && !isComplete) {
            SetOutput(stream);
        } else if (status == JXL_DEC_FULL_IMAGE) {
            isComplete = true;
            if (failure_) {
                std::rethrow_exception(failure_);
            }
        } else {
            Finish(stream, status, isComplete);
            return;
        }
    }
}

void JxlSource::Finish(const JxlStream& stream, JxlDecoderStatus status, bool isComplete)
{
    if (!isComplete) {
        throw Failure(description_.path, status == JXL_DEC_NEED_MORE_INPUT
                                             ? "ends before its last pixel"
                                             : "is damaged: it cannot be decoded as JPEG XL");
    }
    description_.metadata = stream.Found();
    if (status == JXL_DEC_NEED_IMAGE_OUT_BUFFER) {
        description_.hasMorePictures = true;
    } else if (status == JXL_DEC_ERROR) {
        description_.notes.emplace_back("what stands behind the picture is damaged and left out");
    }
}

void JxlSource::TakeInfo(const JxlStream& stream, const SizeLimits& limits)
{
    if (JxlDecoderGetBasicInfo(stream.Decoder(), &info_) != JXL_DEC_SUCCESS) {
        throw Failure(description_.path, "is damaged: its header cannot be read");
    }
    const std::string& path = description_.path;
    description_.size = {info_.xsize, info_.ysize};
    CheckSize(path, description_.size, limits);
    CheckPromise(path, description_.size);
    description_.orientation = info_.orientation;
    description_.isGrey = info_.num_color_channels == 1;
    description_.hasAlpha = info_.alpha_bits > 0;
    TakeExtraChannels(stream);
    // The decoder holds the picture twice as floats, and its part of the file.
    const std::uint64_t channels = info_.num_color_channels + info_.num_extra_channels;
    description_.decodeBytes =
        std::uint64_t{info_.xsize} * info_.ysize * channels * 8 + SizeOfRegularFile(path);
    CheckMemory(path, "decoding it", description_.decodeBytes);
}

void JxlSource::TakeExtraChannels(const JxlStream& stream)
{
    std::uint32_t others = 0;
    for (std::uint32_t i = 0; i < info_.num_extra_channels; ++i) {
        JxlExtraChannelInfo channel;
        if (JxlDecoderGetExtraChannelInfo(stream.Decoder(), i, &channel) != JXL_DEC_SUCCESS) {
            continue;
        }
        if (channel.type == JXL_CHANNEL_BLACK) {
            throw Failure(description_.path, "holds the inks of a press (CMYK), not RGB or grey");
        }
        others += channel.type == JXL_CHANNEL_ALPHA ? 0 : 1;
    }
    if (others > 0) {
        description_.notes.push_back(fmt::format("{} channel{} beside colours and alpha left out",
                                                 others, others == 1 ? " is" : "s are"));
    }
    if (description_.hasAlpha && info_.alpha_premultiplied != JXL_FALSE) {
        description_.notes.emplace_back("the colours are stored multiplied by alpha");
    }
}

void JxlSource::TakeColour(const JxlStream& stream)
{
    if (!TakeEncoding(stream)) {
        TakeProfile(stream);
    }
    // Integers are what they were only where the codestream holds them as such; what was stored in
    // the codec's own colours has no steps, and keeps colours outside of [0, 1] only as floats.
    const bool isOwn = info_.uses_original_profile == JXL_FALSE;
    const bool isFloat = info_.exponent_bits_per_sample > 0 || info_.bits_per_sample > 16 ||
                         (isOwn && !HasEncodedOriginal(stream));
    const bool isByte = !isFloat && !isOwn && info_.bits_per_sample <= 8;
    format_ = {info_.num_color_channels,
               isFloat  ? JXL_TYPE_FLOAT
               : isByte ? JXL_TYPE_UINT8
                        : JXL_TYPE_UINT16,
               JXL_NATIVE_ENDIAN, 0};
    sampleBytes_ = isFloat ? 4 : isByte ? 1 : 2;
    description_.isFloat = isFloat;
    description_.codeBits = isByte ? 8 : 16;
    description_.bits = static_cast<int>(isOwn && !isFloat ? 16 : info_.bits_per_sample);
    description_.findings.push_back(
        {"coding",
         isOwn ? fmt::format("in the codec's colours, made from {} bits", info_.bits_per_sample)
               : std::string("in the picture's own colours")});
    description_.findings.push_back(
        {"intensity", fmt::format("{:.6g} cd/m2 at most", info_.intensity_target)});
    if (info_.intensity_target != unstatedIntensity && info_.intensity_target > 0.0f &&
        info_.intensity_target <= 1e6f)
    {
        description_.tags.whiteLuminance = info_.intensity_target;
    }
}

/// @return whether code points can say all.
bool JxlSource::TakeEncoding(const JxlStream& stream)
{
    JxlColorEncoding encoding;
    if (JxlDecoderGetColorAsEncodedProfile(stream.Decoder(), nullptr, JXL_COLOR_PROFILE_TARGET_DATA,
                                           &encoding) != JXL_DEC_SUCCESS ||
        TransferOf(encoding) == 2)
    {
        return false;
    }
    const bool isGrey = encoding.color_space == JXL_COLOR_SPACE_GRAY;
    if (!isGrey && encoding.color_space != JXL_COLOR_SPACE_RGB) {
        return false;
    }
    const int primaries = isGrey ? 2 : PrimariesOf(encoding);
    if (!isGrey && primaries == 2) {
        description_.tags.chromaticities = ChromaticitiesOf(encoding);
    }
    description_.tags.codePoints = CodePoints{primaries, TransferOf(encoding), 0, true};
    description_.tags.codePointsFrom = "colour encoding";
    return true;
}

void JxlSource::TakeProfile(const JxlStream& stream)
{
    std::size_t size = 0;
    std::vector<unsigned char>& profile = description_.tags.profile;
    constexpr auto target = JXL_COLOR_PROFILE_TARGET_DATA;
    if (JxlDecoderGetICCProfileSize(stream.Decoder(), nullptr, target, &size) == JXL_DEC_SUCCESS) {
        profile.resize(size);
        if (JxlDecoderGetColorAsICCProfile(stream.Decoder(), nullptr, target, profile.data(),
                                           size) == JXL_DEC_SUCCESS)
        {
            return;
        }
    }
    throw Failure(description_.path, "does not say what its colours mean");
}

void JxlSource::SetOutput(const JxlStream& stream)
{
    rowBytes_ =
        description_.size.width * static_cast<std::int64_t>(format_.num_channels * sampleBytes_);
    pixels_ = std::make_unique<ScratchFile>(ScratchFile::CommonFolder());
    if (JxlDecoderSetImageOutCallback(stream.Decoder(), &format_, OnPixels, this) !=
        JXL_DEC_SUCCESS) {
        throw Failure(description_.path, "its kind of pixels cannot be read");
    }
}

// Called from several threads; each writes pixels of its own.
void JxlSource::OnPixels(void* source, std::size_t x, std::size_t y, std::size_t count,
                         const void* pixels)
{
    auto* self = static_cast<JxlSource*>(source);
    const std::size_t pixelBytes = self->format_.num_channels * self->sampleBytes_;
    const std::int64_t place =
        static_cast<std::int64_t>(y) * self->rowBytes_ + static_cast<std::int64_t>(x * pixelBytes);
    try {
        self->pixels_->Write(place, pixels, count * pixelBytes);
    } catch (...) {
        const std::lock_guard<std::mutex> lock(self->failureLock_);
        self->failure_ = std::current_exception();
    }
}

void JxlSource::ReadRows(std::int64_t count, float* rgb)
{
    for (std::int64_t row = 0; row < count; ++row, ++next_) {
        pixels_->Read(next_ * rowBytes_, row_.data(), row_.size());
        CopyRow(rgb + row * description_.size.width * 3);
    }
}

template <typename T>
float SampleAt(const unsigned char* row, std::size_t index)
{
    T sample;
    std::memcpy(&sample, row + index * sizeof(T), sizeof(T));
    return static_cast<float>(sample);
}

void JxlSource::CopyRow(float* out) const
{
    const auto sample = sampleBytes_ == 1   ? SampleAt<std::uint8_t>
                        : sampleBytes_ == 2 ? SampleAt<std::uint16_t>
                                            : SampleAt<float>;
    const std::size_t channels = format_.num_channels;
    const auto width = static_cast<std::size_t>(description_.size.width);
    for (std::size_t x = 0; x < width; ++x) {
        for (std::size_t k = 0; k < 3; ++k) {
            *out++ = sample(row_.data(), x * channels + (channels == 1 ? 0 : k));
        }
    }
}

} // namespace

std::unique_ptr<ImageSource> MakeJxlSource()
{
    return std::make_unique<JxlSource>();
}

} // namespace qva
