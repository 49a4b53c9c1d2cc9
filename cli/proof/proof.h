// A print before it is on paper: everything that a proof consists of, in one call.
#pragma once

#include "proof/proof_run.h"
#include "proof/proof_source.h"
#include "proof/proof_table.h"

#include <cstdint>
#include <string>

namespace qva {

/// What a user can choose about a proof.
struct ProofSettings {
    DeviceIntent intent;
    PaperWhite white = PaperWhite::Shown;
    double inkLimit = 300.0;     ///< percent of total area coverage
    std::int64_t longerSide = 0; ///< of the picture, pixels; 0: as large as the page
};

/// The size of a proof's picture.
ImageSize ViewSize(ImageSize page, const ProofSettings& settings);

/// Paper and darkest ink.
struct PaperColours {
    Lab white; ///< of the bare paper, relative to the perfect diffuser
    Lab black; ///< of code 0, relative to the perfect diffuser
};

PaperColours PaperOf(const DeviceProfile& device);

/// A place and what was asked and printed there.
struct WorstPlace {
    Place place;
    PrintedColour colour;
};

struct ProofResult {
    ProofFigures figures;
    std::vector<WorstPlace> worst;
    PaperColours paper;
};

/// Proofs a prepared source.
/// @param view  the size of the picture, of ViewSize or another.
/// @param show  takes its rows.
ProofResult MakeProof(ProofSource& source, const DeviceProfile& device, const ViewerSpace& viewer,
                      const ProofSettings& settings, ImageSize view, const ViewRows& show,
                      Progress& progress);

} // namespace qva
