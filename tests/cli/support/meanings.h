// What the samples of tests mean.
#pragma once

#include "colour/colour_interpretation.h"

namespace qva::samples {

/// Scene light of BT.2020 in floats.
/// @param one  cd/m² of the value 1.0.
inline Interpretation Light(double one, const Chromaticities& primaries = bt2020)
{
    Interpretation meaning;
    meaning.primaries = primaries;
    meaning.signalOneLuminance = one;
    return meaning;
}

/// Codes of 16 bits, full range, of the power 2.2 where the transfer is one.
/// @param one  cd/m² of the largest.
inline Interpretation Codes(Transfer transfer, double one, const Chromaticities& primaries = bt2020)
{
    Interpretation meaning = Light(one, primaries);
    meaning.transfer = transfer;
    meaning.exponent = 2.2;
    meaning.isInteger = true;
    meaning.largestCode = 65535.0;
    meaning.codeWhite = 65535.0;
    return meaning;
}

} // namespace qva::samples
