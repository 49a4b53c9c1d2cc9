// Options of qva page.
#pragma once

#include "command/print_options.h"

namespace qva {

struct PageOptions {
    PrintOptions print;
    PageCut cut;
    Continuation continuation = Continuation::Refuse;
    ProgressStyle progress = ProgressStyle::Terminal;
};

void AddPageOptions(CLI::App& app, PageOptions& options);

/// A share i/n of the work.
CLI::Option* AddShareOption(CLI::App& app, const std::string& name, std::optional<Share>& share,
                            const std::string& help);

/// What only all options together can tell.
/// @throws Misuse.
void FinishPage(PageOptions& options);

} // namespace qva
