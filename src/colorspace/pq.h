// The transfer functions of the perceptual quantiser (SMPTE ST 2084, ITU-R BT.2100-2 table 4).
#pragma once

namespace lumo {

constexpr double pqPeak = 10000.0;                  ///< cd/m2 of signal 1
constexpr double pqFloor = 7.30955902578396e-7;     ///< signal of 0 cd/m2, c1^m2
constexpr double pqFloorToOne = 0.9999992690440974; ///< 1 - pqFloor

/// Inverse EOTF: signal of a luminance in cd/m2, which is clamped to [0, 10000].
double PQ(double luminance);

/// EOTF: luminance in cd/m2 of a signal, which is clamped to [pqFloor, 1].
double EOTF(double signal);

} // namespace lumo
