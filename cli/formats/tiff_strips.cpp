#include "formats/tiff_strips.h"

#include <algorithm>
#include <zlib.h>

namespace qva {

std::int64_t StripLayout::LinesIn(std::int64_t strip) const
{
    return std::min(stripLines, lines - strip * stripLines);
}

std::size_t StripLayout::SizeOf(std::int64_t strip) const
{
    return static_cast<std::size_t>(LinesIn(strip) * lineLength * 6);
}

std::int64_t StripLines(std::int64_t lineLength, std::int64_t lines)
{
    constexpr std::int64_t stripBytes = 1 << 18;
    return std::clamp<std::int64_t>(stripBytes / (lineLength * 6), 1, lines);
}

std::uint32_t Checksum(std::uint32_t before, const EncodedStrip& strip)
{
    return static_cast<std::uint32_t>(
        crc32_z(before, reinterpret_cast<const Bytef*>(strip.data()), strip.size()));
}

} // namespace qva
