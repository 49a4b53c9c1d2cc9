// What a user is told once a print is done.
#pragma once

#include "colour/printer_profile.h"
#include "command/print_options.h"
#include "render/examination.h"

#include <string>
#include <vector>

namespace qva {

/// Writes remarks to standard error, unless the user wants quiet.
void TellRemarks(const PrintOptions& options, const std::vector<std::string>& remarks);

/// The same of one; nothing where it is empty.
void TellRemark(const PrintOptions& options, const std::string& remark);

/// Tells that a page was decoded into a scratch file; nothing where it was not.
void TellScratch(const PrintOptions& options, const std::string& reason);

/// Tells of temporaries that killed runs left in the folders of outputs, unless the user wants
/// quiet: a remark like others.
/// @param outputs  names; an empty one is none.
void TellLeftovers(const std::vector<std::string>& outputs, bool quiet);

/// All that the user should know about a print.
std::vector<std::string> AllRemarks(const PrintOptions& options, const PrinterProfile& profile,
                                    const Examination& found);

/// Writes to standard error what was found and chosen, as far as the user wants it, and all that
/// the user should know about it.
void TellPrint(const PrintOptions& options, const PrinterProfile& profile,
               const Examination& found);

} // namespace qva
