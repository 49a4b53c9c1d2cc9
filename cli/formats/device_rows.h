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

struct DeviceRowForm {
    /// Every sample but a row's first pixel is its difference to that of the pixel before
    /// (TIFF 6.0, section 14).
    bool areDifferences = false;
    bool isBigEndian = false; ///< else 16 bits are in this machine's order
};

/// @param out  set to the rows, packed.
void MakeDeviceRows(const DeviceOutput& device, const CodeRows& rows, const DeviceRowForm& form,
                    std::vector<unsigned char>& out);

} // namespace qva
