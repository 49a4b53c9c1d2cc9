#include "formats/device_rows.h"

#include <bit>
#include <utility>

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

void ToBigEndian(unsigned char* row, std::size_t samples)
{
    if (std::endian::native == std::endian::little) {
        for (std::size_t i = 0; i < samples; ++i) {
            std::swap(row[2 * i], row[2 * i + 1]);
        }
    }
}

} // namespace

void MakeDeviceRows(const DeviceOutput& device, const CodeRows& rows, DeviceRowForm form,
                    std::vector<unsigned char>& out)
{
    const auto channels = static_cast<std::size_t>(device.Channels());
    const std::size_t samples = static_cast<std::size_t>(rows.width) * channels;
    const std::size_t rowBytes = static_cast<std::size_t>(rows.width) * device.PixelBytes();
    const bool isDeep = device.Bits() == 16;
    const bool isFiltered = form == DeviceRowForm::FilteredBytes;
    const std::size_t before = isFiltered ? 1 : 0;
    out.resize((rowBytes + before) * static_cast<std::size_t>(rows.count));
    for (std::int64_t i = 0; i < rows.count; ++i) {
        unsigned char* row = out.data() + static_cast<std::size_t>(i) * (rowBytes + before);
        if (isFiltered) {
            *row++ = 1;
        }
        device.ConvertRow(rows.codes + i * rows.width * 3, rows.width, rows.first + i, row);
        if (isDeep && (isFiltered || form == DeviceRowForm::BigEndian)) {
            ToBigEndian(row, samples);
        }
        if (isDeep && form == DeviceRowForm::Differences) {
            Subtract(reinterpret_cast<std::uint16_t*>(row), samples, channels);
        } else if (isFiltered || form == DeviceRowForm::Differences) {
            Subtract(row, rowBytes, device.PixelBytes());
        }
    }
}

} // namespace qva
