#include "base/phase_times.h"

#include <ctime>
#include <gtest/gtest.h>

namespace qva {

namespace {

constexpr double spell = 0.02; // seconds

void Work()
{
    const std::clock_t end = std::clock() + static_cast<std::clock_t>(spell * CLOCKS_PER_SEC) + 1;
    while (std::clock() < end) {
    }
}

// Lower bounds only: what else a machine does is added to any phase.
TEST(PhaseTimes, BookWhatPassesOnTheInnermostPhase)
{
    StartPhaseTimes();
    {
        const InPhase examining(Phase::Examining);
        {
            const InPhase reading(Phase::Reading);
            Work();
        }
        Work();
        Work();
    }
    Work();
    const PhaseTimes times = TimesByPhase().value();
    const double expected[] = {spell, 2 * spell, 0.0, 0.0, spell};
    for (std::size_t i = 0; i < phaseCount; ++i) {
        SCOPED_TRACE(NameOf(static_cast<Phase>(i)));
        EXPECT_LE(expected[i], times[i].processor);
        EXPECT_LE(expected[i], times[i].wall * 1.001);
    }
    EXPECT_EQ(0.0, times[static_cast<std::size_t>(Phase::Writing)].wall);
}

} // namespace

} // namespace qva
