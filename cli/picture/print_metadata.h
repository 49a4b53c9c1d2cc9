// What describes a picture, as far as it describes its print, too.
#pragma once

#include "picture/source_description.h"

#include <vector>

namespace qva {

/// Longer data do not travel; no camera and few editors write as much.
constexpr std::size_t mostMetadata = 1 << 22;

/// Takes what stays true of a print of the picture, upright.
Metadata MetadataForPrint(const SourceDescription& source);

/// What a picture says about itself, and what of it does not travel; empty where it says nothing.
std::vector<Finding> MetadataFindings(const SourceDescription& source);

} // namespace qva
