// Writes pictures: the rendered page and the side-by-side sheet.
#pragma once

#include "base/output_file.h"
#include "base/progress.h"
#include "picture/rendered_page.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qva {

enum class OutputFormat { Tiff, Png };
enum class Compression { None, Lzw, Deflate };

/// How a page is written.
struct WriteSettings {
    OutputFormat format = OutputFormat::Tiff;
    Compression compression = Compression::Deflate;
    double dpi = 0.0; ///< pixels per inch; 0: not stated
};

/// The format by a name's extension: .tif and .tiff, .png, in any case.
/// @throws Misuse for another extension.
OutputFormat FormatOfName(const std::string& path);

/// Writes a rendered page.
/// @throws Failure where the file cannot be written.
void WritePage(const OutputFile& file, const Page& page, const WriteSettings& settings,
               Progress& progress);

/// A rendered page written row by row, with the profile of RenderedProfile. A format is one class
/// and one file. Failures are thrown as Failure.
class RowWriter {
public:
    virtual ~RowWriter() = default;

    /// Takes the next rows.
    virtual void Write(const std::uint16_t* codes, std::int64_t count) = 0;

    /// Completes the file; every row must have come.
    virtual void Finish() = 0;
};

/// @param file  must outlive the writer.
std::unique_ptr<RowWriter> MakeRowWriter(const OutputFile& file, ImageSize size,
                                         const WriteSettings& settings);

/// The parts of MakeRowWriter.
std::unique_ptr<RowWriter> MakeTiffWriter(const OutputFile& file, ImageSize size,
                                          const WriteSettings& settings);
std::unique_ptr<RowWriter> MakePngWriter(const OutputFile& file, ImageSize size,
                                         const WriteSettings& settings);

/// Writes an 8-bit sRGB PNG.
/// @param rgb  size.width * size.height packed pixels.
void WriteSrgbPng(const OutputFile& file, ImageSize size, const std::vector<unsigned char>& rgb);

} // namespace qva
