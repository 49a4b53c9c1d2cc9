// Lines of pixels kept on disk, to be read back in another order or across.
#pragma once

#include "base/scratch_file.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qva {

/// A picture of packed 16-bit R, G, B on disk: written in one order of lines, read in another.
class TurnedLines {
public:
    /// @param lines       lines that will be read.
    /// @param lineLength  their pixels.
    /// @param folder      where the scratch goes.
    TurnedLines(std::int64_t lines, std::int64_t lineLength, const std::string& folder);

    /// Writes a line of the picture.
    void WriteLine(std::int64_t line, const std::uint16_t* codes);

    /// Writes lines that run across those that will be read: line i of them becomes pixel
    /// first + i of every line, its pixel j the line j.
    void WriteAcross(std::int64_t first, std::int64_t count, const std::uint16_t* codes);

    /// Reads lines first ... first + count - 1.
    void Read(std::int64_t first, std::int64_t count, std::uint16_t* codes) const;

private:
    std::int64_t Place(std::int64_t line, std::int64_t pixel) const;

    std::int64_t lines_;
    std::int64_t lineLength_;
    ScratchFile file_;
    std::vector<std::uint16_t> piece_;
};

/// Copies pixels of lines so that they run across: pixel j of line i goes to
/// (j * pitch + i) * 3.
void CopyAcross(const std::uint16_t* lines, std::int64_t count, std::int64_t lineLength,
                std::int64_t pitch, std::uint16_t* across);

} // namespace qva
