#include "tone/htr_parameters.h"

#include <algorithm>
#include <iterator>

namespace lumo {
namespace {

constexpr int candidates[] = {1, 2, 4, 8, 14, 20};

} // namespace

HtrParameters::HtrParameters() : numSegmentsSet(std::size(candidates))
{
    std::copy(std::begin(candidates), std::end(candidates), numSegmentsSet.data);
}

// The curves are only ever replaced, so that all may share one array of zeros.
HtrAnalysis::HtrAnalysis() : toneCurves(analysisCurves), regionWeights(analysisCurves)
{
    const Vector<double> zeros(65536, 0.0);
    for (uint64_t s = 0; s < toneCurves.size; ++s) {
        toneCurves[s] = zeros;
    }
}

} // namespace lumo
