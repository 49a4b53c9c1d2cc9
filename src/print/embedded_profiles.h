// The two ICC profiles the library carries.
#pragma once

#include <cstdint>

namespace lumo {

/// BT.2020 primaries (ITU-R BT.2020-2, table 3) adapted to D50, a pure power curve of 2.19921875
/// (563 / 256), PCS XYZ, ICC version 2.1.
extern const uint8_t bt2020Profile[544];

/// An input profile, ICC version 2.4, whose RGB device values are PCS XYZ in the 16-bit encoding
/// where 32768 stands for 1.0. A2B0 and B2A0 are one identity table; codes up to 57344 (XYZ 1.75)
/// come through within one code.
extern const uint8_t xyzProfile[7852];

/// A copy of the profile of a source colour space, of the length that its first four bytes give.
/// @param colorSpace  of the caller's image; 2, the only one the argument checks let through,
///                    selects bt2020Profile.
/// @return a buffer of the locked allocator, to be freed through it.
uint8_t* LoadEmbeddedProfile(uint32_t colorSpace);

/// The same for the XYZ profile.
uint8_t* LoadXyzProfile();

} // namespace lumo
