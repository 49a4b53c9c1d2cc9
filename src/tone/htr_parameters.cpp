#include "tone/htr_parameters.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace lumo {
namespace {

constexpr int candidates[] = {1, 2, 4, 8, 14, 20};

} // namespace

HtrParameters::HtrParameters() : numSegmentsSet(std::size(candidates))
{
    std::copy(std::begin(candidates), std::end(candidates), numSegmentsSet.data);
}

// An array for each: whoever fills the curves of one segment must not change another's.
HtrAnalysis::HtrAnalysis() : toneCurves(analysisCurves), regionWeights(analysisCurves)
{
    for (uint64_t s = 0; s < toneCurves.size; ++s) {
        toneCurves[s] = Vector<double>(65536);
        std::memset(toneCurves[s].data, 0, 65536 * sizeof(double));
    }
}

} // namespace lumo
