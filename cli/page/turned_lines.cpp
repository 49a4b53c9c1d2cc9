#include "page/turned_lines.h"

#include "base/workers.h"

#include <algorithm>

namespace qva {

namespace {

constexpr std::int64_t pixelBytes = 6;

} // namespace

void CopyAcross(const std::uint16_t* lines, std::int64_t count, std::int64_t lineLength,
                std::int64_t pitch, std::uint16_t* across)
{
    // In tiles, so that both sides stay in the cache.
    constexpr std::int64_t tile = 32;
    ForEach((lineLength + tile - 1) / tile, [&](std::int64_t item, int) {
        const std::int64_t left = item * tile;
        const std::int64_t right = std::min(left + tile, lineLength);
        for (std::int64_t top = 0; top < count; top += tile) {
            const std::int64_t bottom = std::min(top + tile, count);
            for (std::int64_t j = left; j < right; ++j) {
                for (std::int64_t i = top; i < bottom; ++i) {
                    std::copy_n(lines + (i * lineLength + j) * 3, 3, across + (j * pitch + i) * 3);
                }
            }
        }
    });
}

TurnedLines::TurnedLines(std::int64_t lines, std::int64_t lineLength, const std::string& folder)
    : lines_(lines), lineLength_(lineLength), file_(folder)
{
}

std::int64_t TurnedLines::Place(std::int64_t line, std::int64_t pixel) const
{
    return (line * lineLength_ + pixel) * pixelBytes;
}

void TurnedLines::WriteLine(std::int64_t line, const std::uint16_t* codes)
{
    file_.Write(Place(line, 0), codes, static_cast<std::size_t>(lineLength_ * pixelBytes));
}

void TurnedLines::WriteAcross(std::int64_t first, std::int64_t count, const std::uint16_t* codes)
{
    piece_.resize(static_cast<std::size_t>(count * lines_ * 3));
    CopyAcross(codes, count, lines_, count, piece_.data());
    for (std::int64_t line = 0; line < lines_; ++line) {
        file_.Write(Place(line, first), piece_.data() + line * count * 3,
                    static_cast<std::size_t>(count * pixelBytes));
    }
}

void TurnedLines::Read(std::int64_t first, std::int64_t count, std::uint16_t* codes) const
{
    file_.Read(Place(first, 0), codes, static_cast<std::size_t>(count * lineLength_ * pixelBytes));
}

} // namespace qva
