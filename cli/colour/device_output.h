// Device values in place of a result's codes: what a press or a printer driver is handed.
#pragma once

#include "colour/colour_table.h"
#include "colour/device_profile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qva {

/// Converts rows of codes; any number of threads may ask at once.
class DeviceOutput {
public:
    /// @param bits  of a sample: 8 or 16.
    DeviceOutput(const PrinterProfile& profile, const DeviceProfile& device, int bits);

    int Channels() const { return channels_; }
    int Bits() const { return bits_; }
    bool IsInk() const { return isInk_; }
    bool IsCmyk() const { return isCmyk_; }
    const std::vector<std::string>& ChannelNames() const { return names_; }
    const std::vector<unsigned char>& Profile() const { return profile_; }
    const std::string& Description() const { return description_; } ///< of the profile
    std::size_t PixelBytes() const { return static_cast<std::size_t>(channels_ * bits_ / 8); }

    /// 16 bits are rounded. To 8 bits a pattern that depends on the place alone decides which of
    /// the two nearest codes a pixel gets: their mean over an area is what 16 bits would be. No ink
    /// and full ink are left as they are.
    /// @param y    of the row in the page.
    /// @param out  pixels * PixelBytes(), 16 bits in this machine's order.
    void ConvertRow(const std::uint16_t* codes, std::int64_t pixels, std::int64_t y,
                    unsigned char* out) const;

private:
    ColourTable table_;
    int channels_;
    int bits_;
    bool isInk_;
    bool isCmyk_;
    std::vector<std::string> names_;
    std::vector<unsigned char> profile_;
    std::string description_;
};

} // namespace qva
