#include "base/errors.h"
#include "formats/coded_picture.h"

#include <fmt/format.h>
#include <libde265/de265.h>
#include <new>

namespace qva {

namespace {

struct DecoderDeleter {
    void operator()(de265_decoder_context* decoder) const { de265_free_decoder(decoder); }
};

/// The picture lies in memory of its decoder.
class HevcPicture : public CodedPicture {
public:
    HevcPicture() : decoder_(de265_new_decoder())
    {
        if (!decoder_) {
            throw std::bad_alloc();
        }
        de265_set_verbosity(0);
        de265_set_parameter_bool(decoder_.get(), DE265_DECODER_PARAM_BOOL_SEI_CHECK_HASH, 1);
        de265_set_parameter_bool(decoder_.get(), DE265_DECODER_PARAM_SUPPRESS_FAULTY_PICTURES, 1);
    }

    void Push(Bytes unit)
    {
        Check(
            de265_push_NAL(decoder_.get(), unit.data(), static_cast<int>(unit.size()), 0, nullptr));
    }

    /// @return false where no picture came out.
    bool Decode()
    {
        Check(de265_flush_data(decoder_.get()));
        int more = 1;
        while (more != 0 && image_ == nullptr) {
            Check(de265_decode(decoder_.get(), &more));
            image_ = de265_get_next_picture(decoder_.get());
        }
        return image_ != nullptr;
    }

    bool Fits(const CodedHeader& header) const
    {
        for (int k = 0; k < (header.chroma.isGrey ? 1 : 3); ++k) {
            const int shiftX = k == 0 ? 0 : header.chroma.shiftX;
            const int shiftY = k == 0 ? 0 : header.chroma.shiftY;
            if (de265_get_image_width(image_, k) != (header.size.width + shiftX) >> shiftX ||
                de265_get_image_height(image_, k) != (header.size.height + shiftY) >> shiftY ||
                de265_get_bits_per_pixel(image_, k) != header.bits)
            {
                return false;
            }
        }
        return (de265_get_chroma_format(image_) == de265_chroma_mono) == header.chroma.isGrey;
    }

    PlaneSet Planes() const override
    {
        PlaneSet planes;
        for (std::size_t k = 0; k < planes.size(); ++k) {
            int stride = 0;
            planes[k].first = de265_get_image_plane(image_, static_cast<int>(k), &stride);
            planes[k].stride = stride;
        }
        return planes;
    }

    std::optional<CodePoints> Points() const override
    {
        return CodePoints{de265_get_image_colour_primaries(image_),
                          de265_get_image_transfer_characteristics(image_),
                          de265_get_image_matrix_coefficients(image_),
                          de265_get_image_full_range_flag(image_) != 0};
    }

private:
    static void Check(de265_error error)
    {
        if (error == DE265_ERROR_OUT_OF_MEMORY) {
            throw std::bad_alloc();
        }
        if (de265_isOK(error) == 0) {
            throw std::runtime_error(de265_get_error_text(error));
        }
    }

    std::unique_ptr<de265_decoder_context, DecoderDeleter> decoder_;
    const de265_image* image_ = nullptr;
};

} // namespace

std::unique_ptr<CodedPicture> DecodeHevc(const std::string& path, Bytes configuration, Bytes units,
                                         const CodedHeader& header)
{
    auto decoded = std::make_unique<HevcPicture>();
    try {
        ForEachHevcUnit(configuration, units, [&decoded](Bytes unit) { decoded->Push(unit); });
        if (!decoded->Decode()) {
            throw std::runtime_error("there is none");
        }
    } catch (const std::runtime_error& error) {
        throw Failure(
            path, fmt::format("is damaged: a picture in it cannot be decoded: {}", error.what()));
    }
    if (!decoded->Fits(header)) {
        throw Failure(path, "is damaged: a decoded picture is not what it states");
    }
    return decoded;
}

} // namespace qva
