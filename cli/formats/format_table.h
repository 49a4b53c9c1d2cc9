// The table of the formats that are read: a format is one file and one line in it.
#pragma once

#include "formats/image_source.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace qva {

/// As many bytes of a file's beginning decide its format, or all of a shorter one.
constexpr std::size_t headBytes = 4096;

struct Format {
    const char* name; ///< for people: "OpenEXR"
    /// Whether a file that begins with these bytes is one of the format.
    bool (*recognises)(std::string_view head);
    /// Makes a reader; null where this build lacks the library that reads the format.
    std::unique_ptr<ImageSource> (*make)();
    const char* library; ///< for people: "libtiff"
};

/// @return the first format of the table that recognises the bytes; null where none does.
const Format* FormatOfContent(std::string_view head);

/// The names of all formats, for people: "OpenEXR, PNG or TIFF".
std::string FormatNames();

// The readers; those of optional libraries are missing where QVA_HAVE_... is not defined.
std::unique_ptr<ImageSource> MakeExrSource();
std::unique_ptr<ImageSource> MakeHdrSource();
std::unique_ptr<ImageSource> MakeHeifSource();
std::unique_ptr<ImageSource> MakeJpegSource();
std::unique_ptr<ImageSource> MakeJxlSource();
std::unique_ptr<ImageSource> MakePngSource();
std::unique_ptr<ImageSource> MakeRawSource();
std::unique_ptr<ImageSource> MakeTiffSource();

} // namespace qva
