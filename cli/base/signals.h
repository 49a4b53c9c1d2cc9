// What the program still does when a signal ends it.
#pragma once

#include <string>

namespace qva {

/// Makes every signal that would end the program, and can be caught, remove the temporaries and
/// write the farewell first; the program then ends by that signal. A signal that its caller has set
/// to be ignored stays ignored. A reached file size limit is an ordinary write error.
void InstallSignalHandlers();

/// A line that is written to standard error when a signal ends the program; empty for none.
void SetFarewell(const std::string& line);

} // namespace qva
