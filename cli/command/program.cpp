#include "command/program.h"

#include "base/errors.h"
#include "base/pipe_ends.h"
#include "base/temporary_name.h"
#include "command/command_line.h"
#include "command/json_output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fmt/format.h>
#include <new>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

namespace qva {

namespace {

void Run(const CommandLine& line)
{
    if (line.command) {
        line.command->Run();
    } else {
        fmt::print("{}", line.text);
    }
    if (std::fflush(stdout) != 0) {
        if (errno == EPIPE) {
            // Whoever reads has seen enough: the usual end.
            std::raise(SIGPIPE);
        }
        throw Failure("standard output", WriteReason(errno), exitOutput);
    }
}

constexpr std::string_view shortage = "qva: there is not enough memory\n";

/// Where an exception cannot go on its way, which a request for memory in a destructor or behind a
/// promise of a library not to throw can bring about.
[[noreturn]] void End() noexcept
{
    RemoveTemporaries();
    try {
        if (std::current_exception()) {
            throw;
        }
    } catch (const std::bad_alloc&) {
        if (write(STDERR_FILENO, shortage.data(), shortage.size()) >= 0) {
            _exit(exitFailed);
        }
    } catch (...) {
    }
    std::abort();
}

/// Says why the program fails: without a request for memory where there is none left to say it.
/// @param reason  follows the file that the work is about, or is all where isWhole.
int Fail(const CommandLine& line, const char* reason, int exitCode, bool isWhole) noexcept
{
    bool isSaid = false;
    try {
        const std::string subject =
            line.command && !isWhole ? line.command->Subject() : std::string();
        const std::string message = subject.empty() ? reason : subject + ": " + reason;
        const std::string told = "qva: " + OneLine(ForPeople(message)) + "\n";
        Say(told);
        isSaid = true;
        if (line.command && line.command->WantsJson()) {
            PrintFailure(line.name, exitCode, message);
        }
    } catch (const std::exception&) {
        if (!isSaid && write(STDERR_FILENO, shortage.data(), shortage.size()) < 0) {
            // What cannot be written there is lost.
        }
    }
    return exitCode;
}

} // namespace

int RunProgram(int count, const char* const* arguments) noexcept
{
    constexpr const char* reason = "there is not enough memory for it";
    std::set_terminate(End);
    CommandLine line;
    try {
        line = ParseCommandLine(count, arguments);
        Run(line);
        return exitDone;
    } catch (const Error& error) {
        return Fail(line, error.what(), error.ExitCode(), true);
    } catch (const std::bad_alloc&) {
        return Fail(line, reason, exitFailed, false);
    } catch (const std::length_error&) {
        return Fail(line, reason, exitFailed, false);
    } catch (const std::exception& error) {
        return Fail(line, error.what(), exitFailed, false);
    }
}

} // namespace qva
