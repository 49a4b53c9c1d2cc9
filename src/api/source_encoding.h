// The full source encoding from its short form.
#pragma once

#include <lumo/qva.h>

namespace lumo {

/// Codes 0 ... 65535, with the threshold's code where the threshold luminance of `conditions` falls
/// on a straight line between the range's ends, computed in 32-bit float and truncated.
QVA_SOURCE_ENCODING MakeSourceEncoding(const QVA_SOURCE_RANGE& range,
                                       const QVA_OUTPUT_CONDITIONS& conditions);

} // namespace lumo
