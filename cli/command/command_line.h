// The command line: the table of commands, and the parser that chooses one of them.
#pragma once

#include "command/command.h"

#include <memory>
#include <string>
#include <vector>

namespace qva {

/// The program's parser with all its commands: what is parsed, shown as help, and written down in
/// manual pages and completions.
struct Program {
    Program();
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    std::unique_ptr<CLI::App> app;
    std::vector<std::unique_ptr<Command>> commands; ///< in the order of the parser's
};

/// What the arguments ask for.
struct CommandLine {
    std::unique_ptr<Command> command; ///< null where only text is to be shown
    std::string name;                 ///< of the command
    std::string text;                 ///< help or version
};

/// Reads the arguments of main().
/// @throws Misuse for anything that is not understood.
CommandLine ParseCommandLine(int count, const char* const* arguments);

} // namespace qva
