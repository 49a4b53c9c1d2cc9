// Writes an array of printed codes as a file.
#pragma once

#include "formats/row_writer.h"

#include <pybind11/pybind11.h>
#include <string>

namespace qva::python {

/// Writes a file of the format that its name asks for, with the profile of RenderedProfile. It
/// appears under its name when it is complete.
/// @param pixels   codes as printing gives them, uint16; packed rows are written from where they
/// are.
/// @param picture  None, or a Picture whose metadata and resolution are stated.
void WriteArray(const std::string& path, const pybind11::object& pixels, WriteSettings settings,
                const pybind11::object& picture);

} // namespace qva::python
