// What print and page have in common: checks before the work, remarks after it.
#pragma once

#include "colour/printer_profile.h"
#include "command/options.h"
#include "render/examination.h"

#include <string>
#include <vector>

namespace qva {

/// @throws Misuse where an output is one of the inputs, or two outputs are one file.
void CheckNames(const PrintOptions& options);

/// The profile the user named, or the built-in one.
PrinterProfile ProfileOf(const PrintOptions& options);

/// How to write, with the resolution of the source where none is asked for.
WriteSettings SettingsFor(const PrintOptions& options, const SourceDescription& source);

/// What the user should know after a print.
std::vector<std::string> AllRemarks(const PrintOptions& options, const PrinterProfile& profile,
                                    const Examination& found);

/// Writes remarks to standard error, unless the user wants quiet.
void TellRemarks(const PrintOptions& options, const std::vector<std::string>& remarks);

} // namespace qva
