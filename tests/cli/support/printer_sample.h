// A small profile of a printer with tables, and a damaged one.
#pragma once

#include "colour/device_profile.h"

#include <string>

namespace qva::samples {

/// What a sample is made as.
struct PrinterKind {
    bool isCmyk = false;       ///< with as much of the three inks as light is missing, and no black
    bool hasToDevice = true;   ///< tables from Lab
    bool hasFromDevice = true; ///< tables to Lab
    double whiteY = 1.0;       ///< Y of the media white, whose x and y are those of D50
};

/// A printer on paper of L* 95 with a black of L* 10, as tables from and to Lab.
std::string PrinterSample(const PrinterKind& kind = {});

/// The same as a profile of the name "sample", and as a device named "sample.icc".
PrinterProfile ProfileSample(const PrinterKind& kind = {});
DeviceProfile DeviceSample(const PrinterKind& kind = {}, const DeviceIntent& intent = {});

} // namespace qva::samples
