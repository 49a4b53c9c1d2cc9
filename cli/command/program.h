// The program but for what its process needs: a command line in, an exit code out.
#pragma once

namespace qva {

/// Reads a command line, runs the command, and turns what fails into a line on standard error and
/// an exit code; even where memory ran out for good.
int RunProgram(int count, const char* const* arguments) noexcept;

} // namespace qva
