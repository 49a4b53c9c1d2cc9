#include "colour/transfer_functions.h"

#include <algorithm>
#include <cmath>

namespace qva {

namespace {

// ITU-R BT.2100-2, table 4.
constexpr double m1 = 2610.0 / 16384.0;
constexpr double m2 = 2523.0 / 4096.0 * 128.0;
constexpr double c1 = 3424.0 / 4096.0;
constexpr double c2 = 2413.0 / 4096.0 * 32.0;
constexpr double c3 = 2392.0 / 4096.0 * 32.0;

// ITU-R BT.2100-2, table 5; c is derived there as 0.5 - a ln(4 a).
constexpr double hlgA = 0.17883277;
constexpr double hlgB = 1.0 - 4.0 * hlgA;
const double hlgC = 0.5 - hlgA * std::log(4.0 * hlgA);

} // namespace

double PqToLuminance(double signal)
{
    const double root = std::pow(std::clamp(signal, 0.0, 1.0), 1.0 / m2);
    return pqPeak * std::pow(std::max(root - c1, 0.0) / (c2 - c3 * root), 1.0 / m1);
}

double LuminanceToPq(double luminance)
{
    const double power = std::pow(std::clamp(luminance / pqPeak, 0.0, 1.0), m1);
    return std::pow((c1 + c2 * power) / (1.0 + c3 * power), m2);
}

double HlgToSceneLight(double signal)
{
    const double clamped = std::clamp(signal, 0.0, 1.0);
    if (clamped <= 0.5) {
        return clamped * clamped / 3.0;
    }
    return (std::exp((clamped - hlgC) / hlgA) + hlgB) / 12.0;
}

double HlgSystemGamma(double peak)
{
    const double ratio = peak / hlgPeak;
    return peak >= 400.0 && peak <= 2000.0 ? 1.2 + 0.42 * std::log10(ratio)
                                           : 1.2 * std::pow(1.111, std::log2(ratio));
}

double SrgbToLinear(double signal)
{
    const double size = std::abs(signal);
    const double light = size <= 0.04045 ? size / 12.92 : std::pow((size + 0.055) / 1.055, 2.4);
    return std::copysign(light, signal);
}

double LinearToSrgb(double light)
{
    const double size = std::abs(light);
    const double signal =
        size <= 0.0031308 ? size * 12.92 : 1.055 * std::pow(size, 1.0 / 2.4) - 0.055;
    return std::copysign(signal, light);
}

double PowerToLinear(double signal, double exponent)
{
    return std::copysign(std::pow(std::abs(signal), exponent), signal);
}

} // namespace qva
