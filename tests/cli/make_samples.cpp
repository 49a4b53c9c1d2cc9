// Writes one small scene in every format the host reads, for the shell tests.
#include "icc_builder.h"
#include "samples.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace samples = qva::samples;

namespace {

constexpr qva::ImageSize size = {48, 32};

/// Scene-linear: a ramp from 0.02 to 4 with a coloured patch and a bright spot.
std::vector<float> Scene()
{
    std::vector<float> rgb;
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const float ramp = 0.02f * std::pow(200.0f, static_cast<float>(x) / 47.0f);
            const bool isPatch = y > 20 && x > 10 && x < 30;
            const float light = (x - 40) * (x - 40) + (y - 8) * (y - 8) < 9 ? 8.0f : ramp;
            rgb.insert(rgb.end(), {light, isPatch ? light * 0.3f : light, light * 0.8f});
        }
    }
    return rgb;
}

std::string Rgbe(const std::vector<float>& rgb)
{
    std::string bytes = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 32 +X 48\n";
    for (std::size_t i = 0; i < rgb.size(); i += 3) {
        const float largest = std::max({rgb[i], rgb[i + 1], rgb[i + 2]});
        int exponent = 0;
        std::frexp(largest, &exponent);
        for (std::size_t k = 0; k < 3; ++k) {
            bytes.push_back(static_cast<char>(std::ldexp(rgb[i + k], 8 - exponent)));
        }
        bytes.push_back(static_cast<char>(exponent + 128));
    }
    return bytes;
}

std::vector<double> Scaled(const std::vector<float>& rgb, double scale, double power)
{
    std::vector<double> out;
    for (const float value : rgb) {
        out.push_back(std::min(std::floor(std::pow(value / 8.0, power) * scale), scale));
    }
    return out;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        return 2;
    }
    const std::string folder = std::string(arguments[1]) + "/";
    std::vector<float> scene = Scene();
    const std::vector<double> whole(scene.begin(), scene.end());
    samples::WriteExr(folder + "photo.exr", size, scene, {});
    samples::WriteBytes(folder + "photo.hdr", Rgbe(scene));
    // Not the PQ curve itself, but codes that any reader has to take for it.
    samples::WritePng(folder + "pq.png", size, Scaled(scene, 45000.0, 0.2),
                      {.chunks = {{"cICP", {9, 16, 0, 1}}}});
    samples::WritePng(folder + "photo.png", size, Scaled(scene, 65535.0, 1 / 2.2), {});
    samples::WriteTiff(folder + "photo16.tif", size, Scaled(scene, 65535.0, 1.0), {});
    samples::WriteTiff(folder + "photo32.tif", size, whole, {.bits = 32, .isFloat = true});
    scene[0] = std::numeric_limits<float>::quiet_NaN();
    scene[4] = std::numeric_limits<float>::infinity();
    scene[8] = -1.0f;
    samples::WriteExr(folder + "flawed.exr", size, scene, {.isHalf = false});
    const std::vector<unsigned char> profile = qva::RenderedProfile();
    samples::WriteBytes(folder + "device.icc", std::string(profile.begin(), profile.end()));
    return 0;
}
