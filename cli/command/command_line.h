// The command line: the table of commands, and the parser that chooses one of them.
#pragma once

#include "command/command.h"

#include <memory>
#include <string>

namespace qva {

/// What the arguments ask for.
struct CommandLine {
    std::unique_ptr<Command> command; ///< null where only text is to be shown
    std::string text;                 ///< help or version
};

/// Reads the arguments of main().
/// @throws Misuse for anything that is not understood.
CommandLine ParseCommandLine(int count, const char* const* arguments);

} // namespace qva
