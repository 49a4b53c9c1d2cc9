// Keeps what libtiff says in a string, where it would write on standard error.
#pragma once

#include <memory>
#include <string>
#include <tiffio.h>

namespace qva {

using TiffOptions = std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)>;

/// Options for opening a file.
/// @param message  set to the last error; must outlive the file. Warnings are dropped.
TiffOptions MakeTiffOptions(std::string& message);

} // namespace qva
