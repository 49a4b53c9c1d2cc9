// Rows of device values as files hold them.
#pragma once

#include "colour/device_output.h"

#include <cstdint>
#include <vector>

namespace qva {

/// Some rows of a page of codes.
struct CodeRows {
    const std::uint16_t* codes = nullptr;
    std::int64_t width = 0;
    std::int64_t first = 0; ///< of the page
    std::int64_t count = 0;
};

enum class DeviceRowForm {
    Plain,       ///< 16 bits in this machine's order
    Differences, ///< so, and each sample less that of the pixel before (TIFF 6.0, section 14)
    BigEndian,
    FilteredBytes, ///< big-endian, each byte less that of the pixel before; a byte 1 before each
                   ///< row (PNG, third edition, 9.2: Sub)
};

/// @param out  set to the rows, packed.
void MakeDeviceRows(const DeviceOutput& device, const CodeRows& rows, DeviceRowForm form,
                    std::vector<unsigned char>& out);

} // namespace qva
