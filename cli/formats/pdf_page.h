// What a PDF of one page of device values says about it.
#pragma once

#include "colour/device_output.h"
#include "formats/row_writer.h"

#include <string>

namespace qva {

/// Where nothing states how many pixels make an inch.
constexpr double assumedDpi = 300.0;

/// Whether the profile's device space is one that a PDF has: RGB, CMYK or grey.
bool HasPdfSpace(const DeviceOutput& device);

/// The entries of the stream that holds the profile.
std::string PdfProfileEntries(const DeviceOutput& device);

/// The entries of the stream that holds the pixels.
/// @param profile, metadata  numbers of objects; metadata 0 for none.
std::string PdfImageEntries(ImageSize size, const WriteSettings& settings, int profile,
                            int metadata);

/// The page's size, as the entries of its dictionary: points, or multiples of a point where it is
/// longer than 14400 of them (ISO 32000-1, annex C).
/// @param bleed  inches on each side of the page that is left after trimming.
std::string PdfPageEntries(ImageSize size, double dpi, double bleed);

/// What the page's pixels are drawn by.
/// @param image  the name of the picture among the page's resources.
std::string PdfDrawing(ImageSize size, double dpi, const std::string& image);

/// The entries of the output intent.
std::string PdfIntentEntries(const DeviceOutput& device, int profile);

/// The packet that describes the document.
/// @param digest  32 hexadecimal digits, other ones for another page.
std::string PdfPacket(const std::string& title, const std::string& program,
                      const std::string& digest);

} // namespace qva
