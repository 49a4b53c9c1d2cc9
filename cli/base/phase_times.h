// Where the time of a run goes.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

namespace qva {

/// What a run works at. Other threads help meanwhile, also with what was begun before.
enum class Phase {
    Reading,   ///< waiting for the decoder of the source
    Examining, ///< measuring its light, choosing, and converting it to codes
    Rendering, ///< the library's calls
    Writing,   ///< encoding and writing the result
    Other      ///< profiles, names and what else comes before and between
};

constexpr std::size_t phaseCount = 5;

/// For people and programs: "reading".
const char* NameOf(Phase phase);

struct PhaseTime {
    double wall = 0.0;      ///< seconds
    double processor = 0.0; ///< seconds of all threads of the process in the same time
};

/// By phase, as numbered.
using PhaseTimes = std::array<PhaseTime, phaseCount>;

/// Begins to measure: with Other, and nothing spent yet. Called by the thread that leads the run,
/// as all of this; nothing is measured otherwise.
void StartPhaseTimes();

/// What was spent on each phase since; nothing where nobody measures.
std::optional<PhaseTimes> TimesByPhase();

/// The phase of a run as long as this lives; then again the one before.
class InPhase {
public:
    explicit InPhase(Phase phase);
    ~InPhase();
    InPhase(const InPhase&) = delete;
    InPhase& operator=(const InPhase&) = delete;

private:
    Phase before_;
};

} // namespace qva
