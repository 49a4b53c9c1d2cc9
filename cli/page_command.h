// qva page: a page of any size in bounded memory.
#pragma once

#include "examination.h"
#include "options.h"

namespace qva {

/// The largest size that can be printed at once, in bytes of memory.
std::uint64_t PrintMemory(ImageSize size);

/// RunPage for a picture that has been looked at already.
/// @param source  opened; its rows may be used up.
void RunPageOf(const PageOptions& options, const PrinterProfile& profile, const Examination& found,
               ImageSource& source);

} // namespace qva
