// What a HEIF file wants to be shown of a stored picture: crop, rotation and mirror.
#pragma once

#include "formats/heif_items.h"
#include "picture/source_description.h"

namespace qva {

/// A part of the stored picture, and how it is set upright.
struct StoredView {
    std::int64_t left = 0;
    std::int64_t top = 0;
    ImageSize size;            ///< of the part, as stored
    int orientation = 1;       ///< 1 ... 8, the values of the TIFF tag 274
    bool hasFalseCrop = false; ///< a crop reaches beyond the picture, and was passed over
};

/// Follows the properties clap, irot and imir in the order in which the file has them
/// (ISO/IEC 23008-12, 6.5.9, 6.5.10 and 6.5.12). Properties that are cut short say nothing.
StoredView ViewOf(const std::vector<HeifProperty>& properties, ImageSize stored);

} // namespace qva
