// The device profile the host uses when the user names none.
#pragma once

#include <cstddef>

namespace qva {

/// An ICC version 2 output profile of a generic glossy photo paper (RGB, PCS Lab, both directions,
/// one table for all intents). A model, not a measurement: paper white at L* 100, black at 0.5 %
/// of it.
extern const unsigned char photoPaperProfile[];
/// In bytes.
extern const std::size_t photoPaperProfileSize;

} // namespace qva
