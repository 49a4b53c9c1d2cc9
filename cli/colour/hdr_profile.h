// ICC profiles of HDR curves that do not name their code points.
#pragma once

#include "picture/chromaticities.h"

#include <optional>
#include <vector>

namespace qva {

/// What a matrix profile with an HDR curve stands for.
struct HdrProfile {
    int transfer = 0; ///< ITU-T H.273: 16 PQ, 18 HLG
    Chromaticities primaries;
};

/// Recognises PQ and HLG by the three curves of a matrix profile. Through the profile itself their
/// signal 1 would be diffuse white, and the dark end of a 16-bit table is too coarse for PQ.
/// @return nothing for other profiles, also damaged ones.
std::optional<HdrProfile> FindHdrCurve(const std::vector<unsigned char>& profile);

/// Whether the name of a profile says PQ or HLG.
bool IsNamedHdr(const std::vector<unsigned char>& profile);

} // namespace qva
