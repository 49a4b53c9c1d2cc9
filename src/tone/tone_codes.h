// The codes that steer tone mapping, all in the common PQ code space.
#pragma once

namespace lumo {

struct ToneCodes {
    double inCodeMax;
    double inCodeMin;
    double outCodeMax;
    double outCodeMin;
    double thresholdCode; ///< below it contrast is kept
    double kneeCode;      ///< up to it the slope is blended towards 1
};

} // namespace lumo
