// What a HEIF file states beside a picture's pixels: colours, light, Exif, XMP.
#pragma once

#include "formats/coded_header.h"
#include "formats/heif_items.h"

namespace qva {

/// What the boxes say of how planes are made and what R, G, B of them mean.
struct HeifColour {
    std::optional<CodePoints> points; ///< of the planes
    ColourTags tags;                  ///< of R, G, B in full range
};

/// Code points (nclx) are believed before a profile, unless they leave primaries or transfer open;
/// without either, those of the bit stream are.
HeifColour ColourOf(const std::vector<HeifProperty>& properties, const CodedHeader& header);

/// The light levels that the properties clli and mdcv state.
std::vector<Finding> LightFindings(const std::vector<HeifProperty>& properties);

/// Exif and XMP that describe an item. What is damaged is left out.
Metadata MetadataOf(const HeifItems& items, const HeifItem& item);

} // namespace qva
