// The program: reads the command line, runs a command, turns failures into a line and a code.
#include "base/errors.h"
#include "base/pipe_ends.h"
#include "base/signals.h"
#include "command/command_line.h"
#include "command/json_output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <new>
#include <stdexcept>
#include <unistd.h>

namespace {

void Run(const qva::CommandLine& line)
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
        throw qva::Failure("standard output", qva::WriteReason(errno), qva::exitOutput);
    }
}

/// The file that the work is about; empty where there is none.
std::string SubjectOf(const qva::CommandLine& line)
{
    return line.command ? line.command->Subject() : std::string();
}

int Fail(const qva::CommandLine& line, const std::string& message, int exitCode) noexcept
{
    try {
        qva::Say("qva: " + qva::OneLine(qva::ForPeople(message)) + "\n");
        if (line.command && line.command->WantsJson()) {
            qva::PrintFailure(line.name, exitCode, message);
        }
    } catch (const std::exception&) {
        // Where memory ran out, there may be none for the message either.
    }
    return exitCode;
}

/// Keeps files from becoming a standard stream that the caller closed: messages would go into
/// them. The place is taken the wrong way round, so that using the stream fails as before.
void OccupyClosedStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest number that is free is this one.
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

} // namespace

int main(int count, char** arguments)
{
    OccupyClosedStreams();
    qva::InstallSignalHandlers();
    qva::CommandLine line;
    try {
        line = qva::ParseCommandLine(count, arguments);
        Run(line);
        return qva::exitDone;
    } catch (const qva::Error& error) {
        return Fail(line, error.what(), error.ExitCode());
    } catch (const std::bad_alloc&) {
        return Fail(line, SubjectOf(line) + ": there is not enough memory for it", qva::exitFailed);
    } catch (const std::length_error&) {
        return Fail(line, SubjectOf(line) + ": there is not enough memory for it", qva::exitFailed);
    } catch (const std::exception& error) {
        const std::string subject = SubjectOf(line);
        return Fail(line, subject.empty() ? error.what() : subject + ": " + error.what(),
                    qva::exitFailed);
    }
}
