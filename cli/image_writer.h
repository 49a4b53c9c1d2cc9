// Writes pictures: the rendered page and the side-by-side sheet.
#pragma once

#include "output_file.h"
#include "page.h"

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

/// Writes a rendered page with the profile of RenderedProfile.
/// @throws Failure where the file cannot be written.
void WritePage(const OutputFile& file, const Page& page, const WriteSettings& settings,
               Progress& progress);

/// The parts of WritePage.
void WriteTiff(const OutputFile& file, const Page& page, const WriteSettings& settings,
               const std::vector<unsigned char>& profile, Progress& progress);
void WritePng(const OutputFile& file, const Page& page, const WriteSettings& settings,
              const std::vector<unsigned char>& profile, Progress& progress);

/// Writes an 8-bit sRGB PNG.
/// @param rgb  size.width * size.height packed pixels.
void WriteSrgbPng(const OutputFile& file, ImageSize size, const std::vector<unsigned char>& rgb);

} // namespace qva
