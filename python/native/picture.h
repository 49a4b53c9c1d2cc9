// A picture file in memory: its samples as stored, and what it says about them.
#pragma once

#include "array_source.h"
#include "call_options.h"
#include "colour/colour_interpretation.h"

#include <pybind11/numpy.h>
#include <string>

namespace qva::python {

struct Picture {
    SourceDescription description;
    Interpretation meaning;  ///< without any option
    pybind11::array samples; ///< stored rows: uint16, or float32 for files of floating-point values

    ArraySource Source() const { return {ViewOf(samples, "pixels"), description}; }
};

/// Reads a file with the reader of its format.
Picture ReadPicture(const std::string& path, const CallOptions& options);

/// A view of stored rows as the picture is to be looked at; nothing is copied.
pybind11::array Upright(const pybind11::array& samples, int orientation);

/// Linear light in cd/m² with the primaries of BT.2020, float32, upright; not exposed. A colour
/// outside BT.2020 has negative values.
pybind11::array LightOf(const Picture& picture, const CallOptions& options);

} // namespace qva::python
