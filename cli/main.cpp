// The program: reads the command line, runs a command, turns failures into a line and a code.
#include "errors.h"
#include "options.h"

#include <cerrno>
#include <cstdio>
#include <fmt/format.h>
#include <new>
#include <stdexcept>

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
    fmt::print(stderr, "qva: {}\n", qva::OneLine(message));
    return exitCode;
}

} // namespace

int main(int count, char** arguments)
{
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
        return Fail(error.what(), qva::exitFailed);
    }
}
