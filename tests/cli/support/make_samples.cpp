// Writes one small scene in every format the host reads, for the shell tests.
#include "colour/icc_builder.h"
#include "printer_sample.h"
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
            bytes.push_back(
                static_cast<char>(static_cast<int>(std::ldexp(rgb[i + k], 8 - exponent))));
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

constexpr qva::ImageSize tall = {40, 480};
constexpr qva::ImageSize large = {400, 6000};

/// Linear codes of a page whose bands have borders: waves of light from code 20 to 60000 with hard
/// edges across them.
std::vector<double> WavesOn(qva::ImageSize page)
{
    std::vector<double> codes;
    for (int y = 0; y < page.height; ++y) {
        for (int x = 0; x < page.width; ++x) {
            const double wave = 0.5 + 0.5 * std::sin(y / 37.0 + x / 19.0);
            const double light =
                20.0 * std::pow(3000.0, wave) * ((y / 11 + x / 7) % 3 == 0 ? 0.3 : 1);
            for (const double tint : {1.0, 0.9, 0.7}) {
                codes.push_back(std::floor(light * tint));
            }
        }
    }
    return codes;
}

/// The page as a camera stores it that was turned: orientation 6 has its columns, the last first,
/// as rows.
std::vector<double> OnItsSide(const std::vector<double>& page)
{
    std::vector<double> stored;
    for (std::int64_t column = tall.width - 1; column >= 0; --column) {
        for (std::int64_t row = 0; row < tall.height; ++row) {
            const auto pixel = page.begin() + (row * tall.width + column) * 3;
            stored.insert(stored.end(), pixel, pixel + 3);
        }
    }
    return stored;
}

/// Scene values in need of every step: far above 10000 cd/m² where 1.0 is 203, outside the
/// primaries, and negative beside bright light.
std::vector<double> DifficultLight()
{
    std::vector<double> light;
    for (int y = 0; y < tall.height; ++y) {
        for (int x = 0; x < tall.width; ++x) {
            const double wave = 0.5 + 0.5 * std::sin(y / 37.0 + x / 19.0);
            const double level = (y + x) % 23 == 0 ? -1.0 : 0.001 * std::pow(1e6, wave);
            const double blue = (y / 11 + x / 7) % 3 == 0 ? -0.2 : 0.75;
            light.insert(light.end(), {level, 0.9 * level, blue * level});
        }
    }
    return light;
}

void WritePages(const std::string& folder)
{
    std::vector<double> light = DifficultLight();
    samples::WriteTiff(folder + "light.tif", tall, light, {.bits = 32, .isFloat = true});
    samples::WriteTiff(folder + "light_turned.tif", {tall.height, tall.width}, OnItsSide(light),
                       {.bits = 32, .isFloat = true, .orientation = 6});
    for (double& value : light) {
        value = std::clamp(value, 0.0, 10000.0 / 203.0);
    }
    samples::WriteTiff(folder + "light_cut.tif", tall, light, {.bits = 32, .isFloat = true});

    const std::vector<double> page = WavesOn(tall);
    samples::WriteTiff(folder + "tall.tif", tall, page, {});
    samples::WriteTiff(folder + "large.tif", large, WavesOn(large), {});
    samples::WriteTiff(folder + "stripped.tif", tall, page, {.rowsPerStrip = 16});
    samples::WriteTiff(folder + "turned.tif", {tall.height, tall.width}, OnItsSide(page),
                       {.orientation = 6});
    samples::WriteTiff(folder + "even.tif", tall, std::vector<double>(page.size(), 30000.0), {});
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
    WritePages(folder);
    const std::vector<unsigned char> profile = qva::RenderedProfile();
    samples::WriteBytes(folder + "device.icc", std::string(profile.begin(), profile.end()));
    std::string damaged = samples::PrinterSample();
    samples::WriteBytes(folder + "printer.icc", damaged);
    samples::WriteBytes(folder + "paper.icc", samples::PrinterSample({.whiteY = 0.8}));
    samples::WriteBytes(folder + "press.icc", samples::PrinterSample({.isCmyk = true}));
    samples::WriteBytes(folder + "no_way_back.icc",
                        samples::PrinterSample({.hasFromDevice = false}));
    std::string link = damaged;
    link.replace(12, 4, "link");
    samples::WriteBytes(folder + "link.icc", link);
    // The first table's place in the directory: outside the file, while others lie in it.
    damaged[136] = 1;
    samples::WriteBytes(folder + "damaged.icc", damaged);
    return 0;
}
