// Pictures of 9 x 7 pixels, some larger, in every kind that is read: what hostile files and fuzzing
// begin with.
#pragma once

#include "picture/source_description.h"

#include <string>

namespace qva::samples {

/// Exif with an artist, an exposure time and a GPS direction, XMP with a city and a credit (and a
/// colour mode, which is true of its file alone), IPTC with a byline.
Metadata Described();

/// @param folder  gets one file a kind, named after it: png16, tiff_planar.
void WritePictureKinds(const std::string& folder);

} // namespace qva::samples
