// What a command of the program is: one class in one file, and one line in the table of commands.
#pragma once

#include <memory>
#include <string>

namespace CLI {
class App;
}

namespace qva {

/// One run of a command: its options are declared, filled by the parser, checked, and worked with.
class Command {
public:
    virtual ~Command() = default;

    /// Declares arguments and options.
    /// @param app  the command's own; fills fields of this object, which it must not outlive.
    virtual void AddOptions(CLI::App& app) = 0;

    /// Checks and completes what only all options together can tell.
    /// @throws Misuse.
    virtual void Finish() {}

    virtual void Run() = 0;

    /// The file that a failure is about which names none, such as a lack of memory.
    virtual std::string Subject() const = 0;

    /// Whether a program reads what the command writes to standard output.
    virtual bool WantsJson() const { return false; }
};

// The commands.
std::unique_ptr<Command> MakeBatchCommand();
std::unique_ptr<Command> MakeInfoCommand();
std::unique_ptr<Command> MakeJoinCommand();
std::unique_ptr<Command> MakePageCommand();
std::unique_ptr<Command> MakePreviewCommand();
std::unique_ptr<Command> MakePrintCommand();
std::unique_ptr<Command> MakePrintersCommand();
std::unique_ptr<Command> MakeProofCommand();
std::unique_ptr<Command> MakeReportCommand();
std::unique_ptr<Command> MakeWatchCommand();

} // namespace qva
