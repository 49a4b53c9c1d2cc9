#include "colorspace/pq.h"

#include <cmath>

namespace lumo {
namespace {

// ITU-R BT.2100-2, table 4.
constexpr double m1 = 0.1593017578125;
constexpr double m2 = 78.84375;
constexpr double c1 = 0.8359375;
constexpr double c2 = 18.8515625;
constexpr double c3 = 18.6875;
constexpr double inverseM1 = 6.277394636015326;
constexpr double inverseM2 = 0.012683313515655966;

double Clamp(double value, double low, double high)
{
    value = value > low ? value : low;
    return value < high ? value : high;
}

} // namespace

double PQ(double luminance)
{
    const double y = Clamp(luminance / pqPeak, 0.0, 1.0);
    const double p = std::pow(y, m1);
    return std::pow((c1 + c2 * p) / (1.0 + c3 * p), m2);
}

double EOTF(double signal)
{
    const double q = std::pow(Clamp(signal, pqFloor, 1.0), inverseM2);
    const double numerator = q - c1 > 0.0 ? q - c1 : 0.0;
    return pqPeak * std::pow(numerator / (c2 - c3 * q), inverseM1);
}

} // namespace lumo
