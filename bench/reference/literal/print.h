// A whole print or preview as plain loops, stage after stage over the whole image.
#pragma once

#include <lumo/qva.h>

namespace lumo::literal {

/// Writes what QVA_ApplyQVAForPrint (or QVA_ApplyQVAForPreview) of a new handle writes. The records
/// are taken as valid. Tables, profiles, curves and converters of single pixels are the library's.
void Print(const QVA_IMAGE& dst, const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
           const QVA_OUTPUT_CONDITIONS& conditions, bool print);

} // namespace lumo::literal
