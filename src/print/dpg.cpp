#include "print/dpg.h"

namespace lumo {

Dpg::Dpg(const LuminanceRangePair& ranges, const DpgParameters& parameters)
    : input(ranges.input), output(ranges.output), params(parameters)
{
    work.valueMax = 65535.0;
    work.lumiMax = 100.0;
    work.valueMin = 0.0;
    work.lumiMin = 0.0;
    work.colorSpace = params.workColorSpace;
}

} // namespace lumo
