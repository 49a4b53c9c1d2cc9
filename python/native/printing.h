// A picture in an array, printed into another.
#pragma once

#include "call_options.h"
#include "colour/printer_profile.h"
#include "picture.h"

#include <optional>
#include <pybind11/pybind11.h>
#include <string>

namespace qva::python {

/// The profile of a call: these bytes, or else what the options name. Tried as the program does.
/// @throws Failure.
PrinterProfile ProfileFor(const CallOptions& options, const std::optional<std::string>& bytes);

/// Renders as qva print does, or qva preview where the options say so: the same codes, byte for
/// byte.
/// @param pixels  a Picture, or an array of ViewOf.
/// @param out     None for a new array, or one of ResultViewOf; may be the array of pixels.
/// @return the array with the codes of RenderedProfile.
pybind11::object Print(const pybind11::object& pixels, const CallOptions& options,
                       const std::optional<std::string>& profile, const pybind11::object& out);

} // namespace qva::python
