// How the raw pictures of cameras are told from other files.
#pragma once

#include <string_view>

namespace qva {

/// Raw formats of their own, and TIFF files whose first directory (within these bytes) is that of
/// a raw picture: it has the tag DNGVersion, samples of a colour-filter array or of linear raw
/// light, or is a camera's small copy with the full picture in directories below it. A TIFF that
/// only names the camera it was taken with is none.
bool IsRaw(std::string_view head);

} // namespace qva
