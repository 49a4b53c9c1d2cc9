// qva page: a page of any size in bounded memory.
#pragma once

#include "command/options.h"
#include "render/examination.h"

namespace qva {

/// RunPage for a picture that has been looked at already.
/// @param source  opened; its rows may be used up.
void RunPageOf(const PageOptions& options, const PrinterProfile& profile, const Examination& found,
               ImageSource& source);

} // namespace qva
