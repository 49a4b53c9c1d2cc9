#include "formats/device_rows.h"

#include <bit>
#include <cstring>

namespace qva {

namespace {

/// From the end, so that no difference is taken of a difference.
template <typename Sample>
void Subtract(Sample* row, std::size_t samples, std::size_t channels)
{
    for (std::size_t i = samples; i-- > channels;) {
        row[i] = static_cast<Sample>(row[i] - row[i - channels]);
    }
}

void ToBigEndian(std::uint16_t* row, std::size_t samples)
{
    for (std::size_t i = 0; i < samples; ++i) {
        row[i] = static_cast<std::uint16_t>(row[i] >> 8 | row[i] << 8);
    }
}

} // namespace

void MakeDeviceRows(const DeviceOutput& device, const CodeRows& rows, const DeviceRowForm& form,
                    std::vector<unsigned char>& out)
{
    const auto channels = static_cast<std::size_t>(device.Channels());
    const auto width = static_cast<std::size_t>(rows.width);
    const std::size_t rowBytes = width * device.PixelBytes();
    out.resize(rowBytes * static_cast<std::size_t>(rows.count));
    for (std::int64_t i = 0; i < rows.count; ++i) {
        unsigned char* row = out.data() + static_cast<std::size_t>(i) * rowBytes;
        device.ConvertRow(rows.codes + i * rows.width * 3, rows.width, rows.first + i, row);
        if (device.Bits() == 8) {
            if (form.areDifferences) {
                Subtract(row, width * channels, channels);
            }
            continue;
        }
        auto* deep = reinterpret_cast<std::uint16_t*>(row);
        if (form.areDifferences) {
            Subtract(deep, width * channels, channels);
        }
        if (form.isBigEndian && std::endian::native == std::endian::little) {
            ToBigEndian(deep, width * channels);
        }
    }
}

} // namespace qva
