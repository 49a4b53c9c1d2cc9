#include "colorspace/pq.h"

#include <cmath>

namespace lumo {
namespace {

// ITU-R BT.2100-2, table 4. Every one of these is exact in binary, but for the quotients.
constexpr double m1 = 2610.0 / 16384.0;
constexpr double m2 = 2523.0 / 4096.0 * 128.0;
constexpr double c1 = 3424.0 / 4096.0;
constexpr double c2 = 2413.0 / 4096.0 * 32.0;
constexpr double c3 = 2392.0 / 4096.0 * 32.0;
constexpr double inverseM1 = 1.0 / m1;
constexpr double inverseM2 = 1.0 / m2;
static_assert(c1 == c3 - c2 + 1.0, "signal 1 stands for the peak");

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
