// The sizes that an OpenEXR file states, looked at before its library believes them.
#pragma once

#include <string>

namespace qva {

/// Reads the headers of all parts: no attribute may be longer than what is left of the file, no
/// window may promise more pixels than a file of its size can hold, and the table of its chunks
/// must fit into it.
/// @throws Failure.
void CheckExrSizes(const std::string& path);

} // namespace qva
