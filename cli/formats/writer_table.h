// The table of the formats that are written: a format is one file and one line in it.
#pragma once

#include "base/output_file.h"
#include "formats/row_writer.h"
#include "picture/source_description.h"

#include <memory>
#include <string>
#include <string_view>

namespace qva {

struct OutputFormat {
    const char* name;            ///< for people: "TIFF"
    std::string_view endings[2]; ///< of file names, in lower case: ".tif"; the second may be empty
    /// Makes a writer. The file must outlive it.
    std::unique_ptr<RowWriter> (*make)(const OutputFile& file, ImageSize size,
                                       const WriteSettings& settings);
    bool isStrips; ///< finished strips of tiff_strips.h are the file's
    bool hasLzw;   ///< knows Compression::Lzw
    bool hasCodes; ///< takes codes of a rendering
    bool hasDeviceValues;
};

/// The format that a name's ending stands for, in upper or lower case.
/// @throws Misuse for another ending.
const OutputFormat& OutputFormatOf(const std::string& path);

/// The endings of all formats that take codes, for people: ".tif, .tiff or .png".
std::string OutputEndings();

/// Whether a format has a colour space for device values.
/// @param output  a name whose format takes device values.
/// @throws Failure where it has none.
void EnsureTakes(const std::string& output, const DeviceOutput& device);

/// @return true where a name ends so, in upper or lower case.
/// @param ending  in lower case, with its dot.
bool HasEnding(std::string_view path, std::string_view ending);

// The writers.
std::unique_ptr<RowWriter> MakeDeviceTiffWriter(const OutputFile& file, ImageSize size,
                                                const WriteSettings& settings);
std::unique_ptr<RowWriter> MakePdfWriter(const OutputFile& file, ImageSize size,
                                         const WriteSettings& settings);
std::unique_ptr<RowWriter> MakePngWriter(const OutputFile& file, ImageSize size,
                                         const WriteSettings& settings);
std::unique_ptr<RowWriter> MakeTiffWriter(const OutputFile& file, ImageSize size,
                                          const WriteSettings& settings);

} // namespace qva
