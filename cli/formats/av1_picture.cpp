#include "base/errors.h"
#include "formats/coded_picture.h"

#include <cerrno>
#include <dav1d/dav1d.h>
#include <fmt/format.h>
#include <new>

namespace qva {

namespace {

class Av1Picture : public CodedPicture {
public:
    ~Av1Picture() override { dav1d_picture_unref(&picture); }

    PlaneSet Planes() const override
    {
        PlaneSet planes;
        for (std::size_t k = 0; k < planes.size(); ++k) {
            planes[k].first = static_cast<const unsigned char*>(picture.data[k]);
            planes[k].stride = picture.stride[k == 0 ? 0 : 1];
        }
        return planes;
    }

    Dav1dPicture picture{};
};

class Decoder {
public:
    Decoder(const CodedHeader& header, int threads)
    {
        Dav1dSettings settings;
        dav1d_default_settings(&settings);
        settings.n_threads = threads;
        settings.max_frame_delay = 1; // there is but one
        settings.all_layers = 0;      // the best of several
        settings.frame_size_limit = static_cast<unsigned>(header.kept.width * header.kept.height);
        settings.logger.callback = nullptr;
        if (dav1d_open(&context_, &settings) != 0) {
            throw std::bad_alloc();
        }
    }
    ~Decoder()
    {
        dav1d_data_unref(&data_);
        dav1d_close(&context_);
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    /// @return 0 or an error of the system's numbers, below 0.
    int Decode(Bytes units, Dav1dPicture& picture)
    {
        const auto keep = [](const unsigned char*, void*) {};
        int result = dav1d_data_wrap(&data_, units.data(), units.size(), keep, nullptr);
        const int again = DAV1D_ERR(EAGAIN);
        while (result == 0 || result == again) {
            if (data_.sz > 0) {
                result = dav1d_send_data(context_, &data_);
                if (result != 0 && result != again) {
                    break;
                }
            }
            const bool isAtEnd = data_.sz == 0;
            result = dav1d_get_picture(context_, &picture);
            if (result == 0 || (result == again && isAtEnd)) {
                break;
            }
        }
        return result;
    }

private:
    Dav1dContext* context_ = nullptr;
    Dav1dData data_{};
};

bool Fits(const Dav1dPicture& picture, const CodedHeader& header)
{
    const ChromaLayout& chroma = header.chroma;
    const Dav1dPixelLayout layout = chroma.isGrey        ? DAV1D_PIXEL_LAYOUT_I400
                                    : chroma.shiftX == 0 ? DAV1D_PIXEL_LAYOUT_I444
                                    : chroma.shiftY == 0 ? DAV1D_PIXEL_LAYOUT_I422
                                                         : DAV1D_PIXEL_LAYOUT_I420;
    return picture.p.w == header.size.width && picture.p.h == header.size.height &&
           picture.p.bpc == header.bits && picture.p.layout == layout;
}

} // namespace

std::unique_ptr<CodedPicture> DecodeAv1(const std::string& path, Bytes units,
                                        const CodedHeader& header, int threads)
{
    auto decoded = std::make_unique<Av1Picture>();
    Decoder decoder(header, threads);
    const int result = decoder.Decode(units, decoded->picture);
    if (result == DAV1D_ERR(ENOMEM)) {
        throw std::bad_alloc();
    }
    if (result != 0) {
        throw Failure(path, "is damaged: a picture in it cannot be decoded");
    }
    if (!Fits(decoded->picture, header)) {
        throw Failure(path, "is damaged: a decoded picture is not what it states");
    }
    return decoded;
}

} // namespace qva
