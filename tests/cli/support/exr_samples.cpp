#include "exr_samples.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfRgbaFile.h>

namespace qva::samples {

namespace {

void WriteRgba(const std::string& path, const Imf::Header& header, const std::vector<float>& rgb,
               Imf::RgbaChannels channels)
{
    const Imath::Box2i& data = header.dataWindow();
    std::vector<Imf::Rgba> pixels;
    for (std::size_t i = 0; i < rgb.size(); i += 3) {
        pixels.emplace_back(half(rgb[i]), half(rgb[i + 1]), half(rgb[i + 2]));
    }
    Imf::RgbaOutputFile file(path.c_str(), header, channels);
    const std::int64_t width = data.max.x - data.min.x + 1;
    file.setFrameBuffer(Imf::ComputeBasePointer(pixels.data(), data.min, width), 1,
                        static_cast<std::size_t>(width));
    file.writePixels(data.max.y - data.min.y + 1);
}

Imath::Box2i Window(ImageSize size, int left, int top)
{
    return {{left, top},
            {left + static_cast<int>(size.width) - 1, top + static_cast<int>(size.height) - 1}};
}

} // namespace

void WriteChromaExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
                    int left, int top)
{
    const Imath::Box2i window = Window(size, left, top);
    WriteRgba(path, Imf::Header(window, window), rgb, Imf::WRITE_YC);
}

void WriteCompressedExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
                        Imf::Compression compression)
{
    const Imath::Box2i window = Window(size, 0, 0);
    Imf::Header header(window, window);
    header.compression() = compression;
    WriteRgba(path, header, rgb, Imf::WRITE_RGB);
}

void WriteExrParts(const std::string& path, ImageSize size, const std::vector<ExrPart>& parts)
{
    const Imath::Box2i window = Window(size, 0, 0);
    std::vector<Imf::Header> headers;
    for (const ExrPart& part : parts) {
        Imf::Header header(window, window);
        header.setName(part.name);
        header.setType(Imf::SCANLINEIMAGE);
        for (const std::string& channel : part.channels) {
            header.channels().insert(channel, Imf::Channel(Imf::FLOAT));
        }
        headers.push_back(header);
    }
    Imf::MultiPartOutputFile file(path.c_str(), headers.data(), static_cast<int>(headers.size()));
    for (std::size_t k = 0; k < parts.size(); ++k) {
        std::vector<float> row(static_cast<std::size_t>(size.width), parts[k].value);
        Imf::FrameBuffer frame;
        for (const std::string& channel : parts[k].channels) {
            // Every row is the same one.
            frame.insert(channel, Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(row.data()),
                                             sizeof(float), 0));
        }
        Imf::OutputPart part(file, static_cast<int>(k));
        part.setFrameBuffer(frame);
        part.writePixels(static_cast<int>(size.height));
    }
}

} // namespace qva::samples
