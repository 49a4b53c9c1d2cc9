#include "base/phase_times.h"

#include <ctime>

namespace qva {

namespace {

double SecondsOf(clockid_t clock)
{
    std::timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

PhaseTime Now()
{
    return {SecondsOf(CLOCK_MONOTONIC), SecondsOf(CLOCK_PROCESS_CPUTIME_ID)};
}

thread_local bool measures = false;
thread_local Phase current = Phase::Other;
thread_local PhaseTime since;
thread_local PhaseTimes spent;

/// Books what has passed on the current phase.
void Book()
{
    const PhaseTime now = Now();
    PhaseTime& time = spent[static_cast<std::size_t>(current)];
    time.wall += now.wall - since.wall;
    time.processor += now.processor - since.processor;
    since = now;
}

void Enter(Phase phase)
{
    if (measures) {
        Book();
    }
    current = phase;
}

} // namespace

const char* NameOf(Phase phase)
{
    constexpr std::array<const char*, phaseCount> names = {"reading", "examining", "rendering",
                                                           "writing", "other"};
    return names[static_cast<std::size_t>(phase)];
}

void StartPhaseTimes()
{
    measures = true;
    current = Phase::Other;
    since = Now();
    spent = {};
}

std::optional<PhaseTimes> TimesByPhase()
{
    if (!measures) {
        return {};
    }
    Book();
    return spent;
}

InPhase::InPhase(Phase phase) : before_(current)
{
    Enter(phase);
}

InPhase::~InPhase()
{
    Enter(before_);
}

} // namespace qva
