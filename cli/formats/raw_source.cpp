// Raw pictures of cameras: the light that the sensor saw, as the white balance of the shot has it.
#include "base/errors.h"
#include "base/memory_limit.h"
#include "formats/format_table.h"
#include "formats/tiff_metadata.h"
#include "picture/input_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <fmt/format.h>
#include <libraw/libraw.h>

namespace qva {

namespace {

/// The library makes a whole picture of the mosaic, which is held until the file is closed.
class RawSource : public ImageSource {
public:
    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override;
    void SkipRows(std::int64_t count) override { next_ += count; }
    void Close() override { raw_.reset(); }

private:
    void Check(int result) const;
    void CheckPlan(const SizeLimits& limits);
    void Develop();
    void DescribeShot();
    void DescribeBalance();
    void SetMatrix();

    SourceDescription description_;
    std::unique_ptr<LibRaw> raw_;
    bool isDamaged_ = false;
    std::array<std::array<float, 4>, 3> matrix_{}; ///< 16-bit codes to light of BT.2020
    std::size_t channels_ = 3;
    std::int64_t next_ = 0;
};

/// @param flip  of the library: 0, 3 (half a turn), 5 (left), 6 (right), as bits of mirrors.
int OrientationOf(int flip)
{
    switch (flip) {
    case 3:
        return 3;
    case 5:
        return 8;
    case 6:
        return 6;
    default:
        return 1;
    }
}

void RawSource::Check(int result) const
{
    // A data error may end a call, or only be told on the way.
    if (result == ENOMEM || result == LIBRAW_UNSUFFICIENT_MEMORY) {
        throw std::bad_alloc();
    }
    if (result == LIBRAW_TOO_BIG) {
        throw Failure(description_.path, "takes more memory at once than this machine has");
    }
    if (isDamaged_ || result == LIBRAW_IO_ERROR || result == LIBRAW_DATA_ERROR) {
        throw Failure(description_.path, "is damaged, or ends before its last pixel");
    }
    if (result != LIBRAW_SUCCESS) {
        throw Failure(description_.path, fmt::format("cannot be read as a raw picture: {}",
                                                     OneLine(LibRaw::strerror(result))));
    }
}

void RawSource::Open(const std::string& path, const SizeLimits& limits)
{
    next_ = 0;
    if (raw_ && path == description_.path) {
        // Developed already.
        CheckSize(path, description_.size, limits);
        return;
    }
    description_ = {};
    description_.path = path;
    description_.format = "camera RAW";
    description_.bits = 16;
    description_.isFloat = true;
    description_.sceneLinear = true;
    description_.tags.chromaticities = bt2020;
    isDamaged_ = false;
    SizeOfRegularFile(path);
    raw_ = std::make_unique<LibRaw>(static_cast<unsigned>(LIBRAW_OPIONS_NO_MEMERR_CALLBACK));
    // The type of the place in the file differs between versions of the library.
    raw_->set_dataerror_handler(
        [](void* damaged, const char*, auto) { *static_cast<bool*>(damaged) = true; }, &isDamaged_);
    try {
        Check(raw_->open_file(path.c_str()));
        CheckPlan(limits);
        Develop();
        DescribeShot();
        SetMatrix();
    } catch (...) {
        Close();
        throw;
    }
}

void RawSource::CheckPlan(const SizeLimits& limits)
{
    const libraw_image_sizes_t& sizes = raw_->imgdata.sizes;
    const std::string& path = description_.path;
    const ImageSize stored = {sizes.raw_width, sizes.raw_height};
    CheckSize(path, {sizes.width, sizes.height}, limits);
    CheckSize(path, stored, limits);
    // Lossless codes of sensors hold noise; a byte for two dozen pixels is far from any of them.
    CheckPromise(path, stored, static_cast<std::uint64_t>(stored.width * stored.height), 24);
    // Stored samples of up to 8 bytes, and four of two bytes for each pixel, twice while some of
    // the ways to fill in the mosaic are under way.
    const auto storedBytes = static_cast<std::uint64_t>(stored.width * stored.height) * 8;
    description_.decodeBytes = storedBytes + std::uint64_t{sizes.width} * sizes.height * 16;
    CheckMemory(path, "developing it", description_.decodeBytes);
    raw_->imgdata.params.max_raw_memory_mb =
        static_cast<unsigned>(std::clamp<std::uint64_t>(MemoryLimit() >> 20, 64, 1 << 20));
}

void RawSource::Develop()
{
    libraw_output_params_t& params = raw_->imgdata.params;
    description_.orientation = OrientationOf(raw_->imgdata.sizes.flip);
    params.user_flip = 0;
    params.output_color = 0; // the camera's own, balanced
    params.output_bps = 16;
    params.gamm[0] = 1.0;
    params.gamm[1] = 1.0;
    params.no_auto_bright = 1;
    params.adjust_maximum_thr = 0.0f;
    params.use_camera_wb = 1;
    params.use_camera_matrix = 1; // what the file itself states of its camera
    params.highlight = 0;         // clipped to the white of the balance
    Check(raw_->unpack());
    if (raw_->imgdata.idata.filters == 0 && raw_->imgdata.idata.colors == 1) {
        description_.isGrey = true;
    }
    Check(raw_->dcraw_process());
    const libraw_image_sizes_t& sizes = raw_->imgdata.sizes;
    description_.size = {sizes.iwidth, sizes.iheight};
    if (raw_->imgdata.image == nullptr || sizes.iwidth < 1 || sizes.iheight < 1) {
        throw Failure(description_.path, "holds no raw picture");
    }
}

void RawSource::DescribeShot()
{
    const libraw_iparams_t& camera = raw_->imgdata.idata;
    const libraw_imgother_t& shot = raw_->imgdata.other;
    std::string text = OneLine(fmt::format("{} {}", camera.make, camera.model));
    if (shot.iso_speed > 0.0f) {
        text += fmt::format(", ISO {:.6g}", shot.iso_speed);
    }
    if (shot.shutter > 0.0f) {
        text += shot.shutter < 0.5f ? fmt::format(", 1/{:.4g} s", 1.0 / shot.shutter)
                                    : fmt::format(", {:.4g} s", shot.shutter);
    }
    if (shot.aperture > 0.0f) {
        text += fmt::format(", f/{:.3g}", shot.aperture);
    }
    description_.findings.push_back({"camera", text});
    DescribeBalance();
    if (camera.raw_count > 1) {
        description_.hasMorePictures = true;
    }
    // Most makers' files are built like TIFF.
    description_.metadata = ReadTiffMetadata(description_.path);
    if (description_.metadata.xmp.empty() && camera.xmpdata != nullptr && camera.xmplen > 0) {
        description_.metadata.xmp.assign(camera.xmpdata, camera.xmpdata + camera.xmplen);
    }
}

void RawSource::DescribeBalance()
{
    const float* as = raw_->imgdata.color.cam_mul;
    const bool isStated = as[0] > 0.0f && as[1] > 0.0f && as[2] > 0.0f;
    if (isStated) {
        description_.findings.push_back(
            {"balance", fmt::format("as shot: red {:.4g}, blue {:.4g} of green", as[0] / as[1],
                                    as[2] / as[1])});
    } else {
        description_.notes.emplace_back("states no white balance: that of daylight is taken");
    }
}

void RawSource::SetMatrix()
{
    const libraw_colordata_t& colour = raw_->imgdata.color;
    channels_ = static_cast<std::size_t>(std::clamp(raw_->imgdata.idata.colors, 1, 4));
    const bool isKnown = colour.cam_xyz[0][0] != 0.0f || colour.cmatrix[0][0] != 0.0f;
    if (!isKnown && !description_.isGrey) {
        description_.notes.emplace_back(
            "the colours of its camera are not known: they are taken as BT.709");
    }
    // The library's matrix leads from the balanced camera, whose white is (1, 1, 1), to BT.709.
    constexpr double largestCode = 65535.0;
    const Matrix3 toBt2020 = ToBt2020(bt709);
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            double sum = description_.isGrey ? 1.0 : 0.0;
            for (std::size_t k = 0; k < 3 && !description_.isGrey; ++k) {
                const double value = isKnown ? static_cast<double>(colour.rgb_cam[k][channel])
                                             : (k == channel ? 1.0 : 0.0);
                sum += toBt2020[row][k] * value;
            }
            matrix_[row][channel] = static_cast<float>(sum / largestCode);
        }
    }
}

void RawSource::ReadRows(std::int64_t count, float* rgb)
{
    const ushort(*pixel)[4] = raw_->imgdata.image + next_ * description_.size.width;
    for (std::int64_t i = 0; i < count * description_.size.width; ++i, ++pixel) {
        for (const std::array<float, 4>& row : matrix_) {
            float light = 0.0f;
            for (std::size_t channel = 0; channel < channels_; ++channel) {
                light += row[channel] * static_cast<float>((*pixel)[channel]);
            }
            *rgb++ = light;
        }
    }
    next_ += count;
}

} // namespace

std::unique_ptr<ImageSource> MakeRawSource()
{
    return std::make_unique<RawSource>();
}

} // namespace qva
