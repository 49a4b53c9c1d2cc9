// Walks over the codes of a result once: figures of all pixels, and rows of what is to be seen.
#pragma once

#include "base/progress.h"
#include "colour/colour_table.h"
#include "proof/proof_figures.h"

#include <cstdint>
#include <functional>

namespace qva {

/// Gives the next rows of a result, packed codes.
using CodeRows = std::function<void(std::int64_t count, std::uint16_t* codes)>;

/// Takes the next row of the picture of a proof: view::count values a pixel.
using ViewRows = std::function<void(const float* row)>;

/// Where the values of a pixel of that picture lie; means over its area.
namespace view {
constexpr std::size_t rgb = 0;    ///< signals of the viewer's display, 0 ... 1
constexpr std::size_t deltaE = 3; ///< ΔE 2000
constexpr std::size_t ink = 4;    ///< percent of total area coverage
constexpr std::size_t count = 5;
} // namespace view

struct ProofSizes {
    ImageSize page;
    ImageSize view; ///< each side at most the page's
};

/// Rows are shared by all threads; figures and rows are the same for any number of them. Of the
/// page a few rows are in memory at a time.
/// @param table  of MakeProofTable.
ProofFigures RunProof(const ColourTable& table, const ProofSizes& sizes, double inkLimit,
                      const CodeRows& read, const ViewRows& show, Progress& progress);

} // namespace qva
