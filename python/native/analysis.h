// A page in bands: its small copy analysed once, then band after band corrected.
#pragma once

#include "array_view.h"
#include "page/band_renderer.h"
#include "printing.h"

#include <mutex>
#include <optional>
#include <pybind11/numpy.h>
#include <string>

namespace qva::python {

/// Pixels of a page are linear and have the primaries of BT.2020: codes of which 65535 stands for
/// the top, or light in cd/m².
class Analysis {
public:
    /// @param pixels  the whole page, or its small copy where a size is given.
    /// @param page    columns and rows of the page; nothing where pixels are all of it.
    /// @param top     cd/m², at least 1.05 times paper white.
    Analysis(const pybind11::object& pixels, std::optional<ImageSize> page, double top,
             const CallOptions& options, const std::optional<std::string>& profile);

    /// Renders lines of the page, margins included. Calls of several threads wait for each other.
    /// @param band  as many lines as it has, of the page's whole width or height.
    /// @param out   None, or an array of ResultViewOf; may be the band.
    /// @throws Misuse where the lines do not lie on the page.
    pybind11::object Correct(const pybind11::object& band, std::int64_t first, Direction direction,
                             const pybind11::object& out, int threads);

    /// The small copy as codes, rows by columns.
    pybind11::array Reduced() const;

    ImageSize Page() const { return page_; }
    double Top() const { return range_.top; }

    /// Lines on each side of a band whose result is not to be used.
    std::int64_t Margin() const { return MarginFor(page_); }

private:
    ImageSize page_;
    RenderRange range_;
    PrinterProfile profile_;
    qva::Page reduced_;
    std::optional<BandRenderer> renderer_;
    std::mutex mutex_;
};

} // namespace qva::python
