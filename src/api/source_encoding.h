// The full source encoding from its short form.
#pragma once

#include <lumo/qva.h>

namespace lumo {

/// Codes 0 ... 65535. The threshold's code is that of the threshold luminance of `conditions` were
/// the codes linear in luminance, reckoned in 32-bit float and truncated.
QVA_SOURCE_ENCODING MakeSourceEncoding(const QVA_SOURCE_RANGE& range,
                                       const QVA_OUTPUT_CONDITIONS& conditions);

} // namespace lumo
