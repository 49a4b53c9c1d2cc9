// The command line of page and join.
#pragma once

#include "command/options.h"

#include <CLI/CLI.hpp>

namespace qva {

/// What page has besides the options of print.
void AddPageOptions(CLI::App& app, PageOptions& options);

/// What only all options together can tell.
/// @throws Misuse.
void FinishPage(PageOptions& options);

CLI::App* AddJoinCommand(CLI::App& app, JoinOptions& options);

} // namespace qva
