// Counts the instructions of a call: for programs that run under callgrind with --instr-atstart=no.
#pragma once

#include <cstdio>
#include <valgrind/callgrind.h>

namespace lumo::bench {

/// Counts what a call executes into a dump that bears a name.
/// @param call  returns whether it did its work.
template <typename Call>
bool Count(const char* name, Call&& call)
{
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    const bool done = call();
    CALLGRIND_DUMP_STATS_AT(name);
    CALLGRIND_STOP_INSTRUMENTATION;
    if (!done) {
        std::fprintf(stderr, "%s: the call failed\n", name);
    }
    return done;
}

} // namespace lumo::bench
