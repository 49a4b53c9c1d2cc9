// Pictures of 9 x 7 pixels, some larger, in every kind that is read: what hostile files and fuzzing
// begin with.
#pragma once

#include <string>

namespace qva::samples {

/// @param folder  gets one file a kind, named after it: png16, tiff_planar.
void WritePictureKinds(const std::string& folder);

} // namespace qva::samples
