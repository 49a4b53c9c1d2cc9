// Options of qva page.
#pragma once

#include "command/print_options.h"

namespace qva {

struct PageOptions {
    PrintOptions print;
    PageCut cut;
    Continuation continuation = Continuation::Refuse;
    ProgressStyle progress = ProgressStyle::Terminal;
    bool json = false;
    bool dryRun = false;
};

void AddPageOptions(CLI::App& app, PageOptions& options);

/// What only all options together can tell.
/// @throws Misuse.
void FinishPage(PageOptions& options);

} // namespace qva
