// The library's part of a page: one analysis of its small copy, then band after band.
#pragma once

#include "page/band_plan.h"
#include "picture/reduced_size.h"
#include "render/library_calls.h"
#include "render/scan_load.h"

#include <cstdint>
#include <string>

namespace qva {

/// The range that the lines of a page are handed over in: linear codes from 0 up to the top of
/// the chosen range. Where that top is not above paper white, the range ends a little above it:
/// the library divides a page into regions, which bands need, only where light has to be
/// compressed. Light stays where it is either way.
RenderRange PageRange(const RenderRange& chosen, int paperWhite);

/// Renders bands of one page. The first object of a process fixes intent and black level for all
/// later ones, as the library has it.
class BandRenderer {
public:
    /// Analyses the small copy; where that is one even region, the copy of a ContinuedPage.
    /// @param reduced   upright, at most analysisSide pixels on its longer side.
    /// @param profile   must outlive this.
    /// @throws Failure where the library refuses or fails.
    BandRenderer(const Page& reduced, ImageSize page, const RenderRange& range,
                 const PrinterProfile& profile, const RenderSettings& settings,
                 const std::string& name);

    /// Renders lines of the page in place: from linear codes to those of RenderedProfile.
    /// @param codes  upright and packed: lines.count rows of the page's width, or for columns the
    ///               page's height rows of lines.count pixels.
    void Correct(std::uint16_t* codes, Direction direction, const LineRun& lines) const;

    /// The same from one place to another.
    void Correct(const std::uint16_t* source, std::uint16_t* result, Direction direction,
                 const LineRun& lines) const;

private:
    std::uint32_t TryCorrect(const std::uint16_t* source, std::uint16_t* result,
                             Direction direction, const LineRun& lines) const;
    void Analyse(const Page& reduced) const;
    bool HasRegions(const Page& reduced) const;

    LibraryHandle handle_;
    ImageSize page_;
    ImageSize declared_; ///< to the library: the page, or a ContinuedPage
    RenderRange range_;
    QVA_SOURCE_RANGE sourceRange_;
    QVA_OUTPUT_CONDITIONS conditions_;
    std::string name_;
};

} // namespace qva
