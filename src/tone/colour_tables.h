/// The two constant colour tables of the rendering.
#pragma once

#include <cstdint>

namespace lumo {

/// Nodes along one side of a colour table; node i stands at code i * 4369.
inline constexpr int colorTableGrid = 16;

/// Values of one colour table: three for each of its nodes.
inline constexpr int colorTableValues = colorTableGrid * colorTableGrid * colorTableGrid * 3;

/// Pulls saturated reds inward; acts on codes of the 1/2.2 curve, after tone reproduction.
///
/// 16-bit RGB codes, three for each node, in the node order of `Lut3D`: the first channel slowest,
/// the third fastest, so node (i, j, k) starts at ((i * 16 + j) * 16 + k) * 3. Every value is a
/// multiple of 257. Black, white and all pure corners but red are kept; the grey axis is lifted by
/// 257 codes at nodes 8 to 14. Computed by tools/make_colour_tables.py.
extern const uint16_t colorCompressionTable[colorTableValues];

/// Pulls saturated colours inward; acts on linear codes, before tone reproduction.
///
/// Same layout. This is the full effect, for an input three stops brighter than the output;
/// `HtrColorCorrection` blends it with the identity. The grey axis is exact.
extern const uint16_t colorCorrectionTable[colorTableValues];

} // namespace lumo
