// What may be asked of readers of hostile files.
#pragma once

#include <cstdint>
#include <string>

namespace qva::samples {

/// Bytes that reading may take. The sanitizers hold back much of what was given back to them.
#if defined(LUMO_PLAIN_HEAP)
inline constexpr std::uint64_t allowance = std::uint64_t{1} << 30;
#else
inline constexpr std::uint64_t allowance = std::uint64_t{64} << 20;
#endif

std::string Content(const std::string& path);

/// Reads a picture as the program does, but for the table of integer codes, which takes long to
/// build and does not depend on the file.
void Read(const std::string& path, std::uint64_t maxPixels);

} // namespace qva::samples
