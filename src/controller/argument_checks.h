// The checks of the caller's records.
#pragma once

#include <lumo/qva.h>

namespace lumo {

/// Each function tells whether a record may be used; null pointers may not.

bool IsValidImage(const QVA_IMAGE* image);

/// Both images are valid and of the same size and layout.
bool IsValidPair(const QVA_IMAGE* src, const QVA_IMAGE* dst);

bool AreValidConditions(const QVA_SOURCE_ENCODING* encoding,
                        const QVA_OUTPUT_CONDITIONS* conditions);

/// The band lies in the source, the page rectangle in the page.
bool IsValidBand(const QVA_BAND_AREA* band, const QVA_PAGE_AREA* page, const QVA_IMAGE& src);

} // namespace lumo
