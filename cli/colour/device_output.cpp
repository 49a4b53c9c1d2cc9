#include "colour/device_output.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace qva {

namespace {

// Printers' tables bend sharply where black ink comes in: finer than for a proof.
constexpr int tableSteps = 85;
// Pixels whose values are looked up at once.
constexpr std::size_t blockPixels = 256;

ColourTable MakeTable(const DeviceProfile& device)
{
    const auto channels = static_cast<std::size_t>(device.Channels());
    const auto sample = [&](const std::uint16_t* codes, std::size_t count, float* values) {
        std::vector<std::uint16_t> inks(count * channels);
        device.FromCodes(codes, count, inks.data());
        std::copy(inks.begin(), inks.end(), values);
    };
    return ColourTable(tableSteps, device.Channels(), sample);
}

double Fraction(double value)
{
    return value - std::floor(value);
}

/// Interleaved gradient noise, 0 ... 1 (J. Jimenez, Next Generation Post Processing in Call of
/// Duty, 2014): neighbours differ much, and any few of them have nearly the mean. Each channel has
/// the pattern in another place.
double NoiseAt(std::int64_t x, std::int64_t y, std::size_t channel)
{
    const double shift = 5.588238 * static_cast<double>(channel);
    return Fraction(52.9829189 * Fraction(0.06711056 * (static_cast<double>(x) + shift) +
                                          0.00583715 * (static_cast<double>(y) + shift)));
}

} // namespace

DeviceOutput::DeviceOutput(const PrinterProfile& profile, const DeviceProfile& device, int bits)
    : table_(MakeTable(device)),
      channels_(device.Channels()),
      bits_(bits),
      isInk_(device.IsInk()),
      isCmyk_(device.Space() == "CMYK"),
      names_(device.ChannelNames()),
      profile_(profile.bytes),
      description_(profile.description)
{
}

void DeviceOutput::ConvertRow(const std::uint16_t* codes, std::int64_t pixels, std::int64_t y,
                              unsigned char* out) const
{
    const auto channels = static_cast<std::size_t>(channels_);
    std::array<float, blockPixels * ColourTable::mostOutputs> values;
    const auto count = static_cast<std::size_t>(pixels);
    for (std::size_t first = 0; first < count; first += blockPixels) {
        const std::size_t block = std::min(blockPixels, count - first);
        table_.Convert(codes + first * 3, block, values.data());
        for (std::size_t i = 0; i < block; ++i) {
            const float* value = values.data() + i * table_.Stride();
            for (std::size_t k = 0; k < channels; ++k) {
                if (bits_ == 16) {
                    const auto code = static_cast<std::uint16_t>(value[k] + 0.5f);
                    std::memcpy(out, &code, sizeof code);
                    out += sizeof code;
                } else {
                    const double code = static_cast<double>(value[k]) / 257.0 +
                                        NoiseAt(static_cast<std::int64_t>(first + i), y, k);
                    *out++ = static_cast<unsigned char>(std::min(code, 255.0));
                }
            }
        }
    }
}

} // namespace qva
