// The program: reads the command line, runs a command, turns failures into a line and a code.
#include "base/errors.h"
#include "command/options.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <new>
#include <stdexcept>
#include <unistd.h>

namespace {

std::string PhotoOf(const qva::CommandLine& line)
{
    switch (line.command) {
    case qva::Command::Info:
        return line.info.photo;
    case qva::Command::Page:
        return line.page.print.photo;
    case qva::Command::Join:
        return line.join.output;
    default:
        return line.print.photo;
    }
}

void Run(const qva::CommandLine& line)
{
    switch (line.command) {
    case qva::Command::Help:
        fmt::print("{}", line.text);
        break;
    case qva::Command::Info:
        qva::RunInfo(line.info);
        break;
    case qva::Command::Page:
        qva::RunPage(line.page);
        break;
    case qva::Command::Join:
        qva::RunJoin(line.join);
        break;
    case qva::Command::Print:
    case qva::Command::Preview:
        qva::RunPrint(line.print);
        break;
    }
    if (std::fflush(stdout) != 0) {
        throw qva::Failure("standard output", qva::SystemReason(errno));
    }
}

int Fail(const std::string& message, int exitCode)
{
    qva::Say("qva: " + qva::OneLine(message) + "\n");
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
        return Fail(error.what(), error.ExitCode());
    } catch (const std::bad_alloc&) {
        return Fail(PhotoOf(line) + ": there is not enough memory for it", qva::exitFailed);
    } catch (const std::length_error&) {
        return Fail(PhotoOf(line) + ": there is not enough memory for it", qva::exitFailed);
    } catch (const std::exception& error) {
        const std::string photo = PhotoOf(line);
        return Fail(photo.empty() ? error.what() : photo + ": " + error.what(), qva::exitFailed);
    }
}
