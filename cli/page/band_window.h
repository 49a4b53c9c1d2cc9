// The lines around one band, for bands that overlap.
#pragma once

#include "page/page_lines.h"

namespace qva {

/// Reads the lines of bands, each line once although bands overlap.
class BandWindow {
public:
    /// Both must outlive this.
    BandWindow(PageLines& lines, const BandPlan& plan) : lines_(lines), plan_(plan) {}

    /// @return the outer lines of a band, packed; bands come in ascending order.
    const std::uint16_t* LinesOf(const Band& band, Progress& progress);

private:
    PageLines& lines_;
    const BandPlan& plan_;
    LineRun held_;
    std::vector<std::uint16_t> codes_;
};

} // namespace qva
