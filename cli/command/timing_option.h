// --timing: where the time of a run went.
#pragma once

#include "base/json_text.h"

#include <CLI/CLI.hpp>

namespace qva {

/// Measures where the option is given.
void AddTimingOption(CLI::App& app);

/// Writes a table to standard error where the option was given.
void TellTiming();

/// Adds an object of the phases where the option was given.
void WriteTiming(JsonWriter& json);

} // namespace qva
