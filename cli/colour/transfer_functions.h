// The transfer functions between signals and light that pictures are stored with.
#pragma once

namespace qva {

/// Luminance of the PQ signal 1.0 in cd/m² (SMPTE ST 2084).
constexpr double pqPeak = 10000.0;

/// Nominal peak luminance in cd/m² that HLG is displayed with (ITU-R BT.2100-2, table 5, note 5e).
constexpr double hlgPeak = 1000.0;

/// Exponent of the HLG display transform (system gamma) on a display of a nominal peak in cd/m²:
/// 1.2 + 0.42 log10(peak / 1000) (ITU-R BT.2100-2, table 5, note 5f); outside of 400 ... 2000 cd/m²
/// 1.2 * 1.111 ^ log2(peak / 1000) (ITU-R BT.2390, extended range).
double HlgSystemGamma(double peak);

/// PQ signal to cd/m² (ITU-R BT.2100-2, table 4, EOTF). The signal is clamped to [0, 1].
double PqToLuminance(double signal);

/// cd/m² to PQ signal (ITU-R BT.2100-2, table 4, inverse EOTF), clamped to [0, 10000] cd/m².
double LuminanceToPq(double luminance);

/// HLG signal to scene light in [0, 1] (ITU-R BT.2100-2, table 5, inverse OETF).
double HlgToSceneLight(double signal);

/// sRGB signal to linear light (IEC 61966-2-1); negative signals are mirrored.
double SrgbToLinear(double signal);

/// Linear light to sRGB signal (IEC 61966-2-1); negative light is mirrored.
double LinearToSrgb(double light);

/// signal ^ exponent with negative signals mirrored.
double PowerToLinear(double signal, double exponent);

} // namespace qva
