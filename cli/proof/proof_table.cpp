#include "proof/proof_table.h"

#include <cmath>
#include <lcms2.h>
#include <vector>

namespace qva {

namespace {

// Proofs from the table are within ΔE 2000 0.1 of direct ones at the median, 0.6 at 99.9 %: docs.
constexpr int tableSteps = 51;

cmsCIELab Record(const Lab& lab)
{
    return {lab[0], lab[1], lab[2]};
}

/// Colours of a call, at every station on their way.
struct Stations {
    std::vector<std::uint16_t> device;
    std::vector<Lab> asked;
    std::vector<Lab> printed; ///< relative to the paper
    std::vector<Lab> shown;
};

Stations Follow(const DeviceProfile& device, PaperWhite white, const std::uint16_t* codes,
                std::size_t count)
{
    Stations way{std::vector<std::uint16_t>(count * static_cast<std::size_t>(device.Channels())),
                 std::vector<Lab>(count), std::vector<Lab>(count), std::vector<Lab>(count)};
    device.FromCodes(codes, count, way.device.data());
    device.AskedLab(codes, count, way.asked.data());
    device.ToLab(way.device.data(), count, PaperWhite::Adapted, way.printed.data());
    device.ToLab(way.device.data(), count, white, way.shown.data());
    return way;
}

void StoreDifferences(const Lab& asked, const Lab& printed, float* values)
{
    const double a = printed[1] - asked[1];
    const double b = printed[2] - asked[2];
    const double chroma = std::hypot(printed[1], printed[2]) - std::hypot(asked[1], asked[2]);
    const double hue = std::sqrt(std::fmax(a * a + b * b - chroma * chroma, 0.0));
    values[proof::deltaE] = static_cast<float>(DeltaE2000(asked, printed));
    values[proof::lightness] = static_cast<float>(printed[0] - asked[0]);
    values[proof::chroma] = static_cast<float>(chroma);
    values[proof::hue] = static_cast<float>(hue);
}

float InkOf(const std::uint16_t* device, std::size_t channels)
{
    double sum = 0.0;
    for (std::size_t k = 0; k < channels; ++k) {
        sum += device[k];
    }
    return static_cast<float>(sum * 100.0 / 65535.0);
}

} // namespace

double DeltaE2000(const Lab& first, const Lab& second)
{
    const cmsCIELab one = Record(first);
    const cmsCIELab other = Record(second);
    return cmsCIE2000DeltaE(&one, &other, 1.0, 1.0, 1.0);
}

PrintedColour PrintedColourOf(const DeviceProfile& device, const std::uint16_t* codes)
{
    const Stations way = Follow(device, PaperWhite::Adapted, codes, 1);
    return {way.asked[0], way.printed[0], DeltaE2000(way.asked[0], way.printed[0])};
}

void ProofValues(const DeviceProfile& device, const ViewerSpace& viewer, PaperWhite white,
                 const std::uint16_t* codes, std::size_t count, float* values)
{
    const Stations way = Follow(device, white, codes, count);
    std::vector<float> rgb(count * 3);
    viewer.FromLab(way.shown.data(), count, rgb.data());
    const auto channels = static_cast<std::size_t>(device.Channels());
    for (std::size_t i = 0; i < count; ++i, values += proof::count) {
        for (std::size_t k = 0; k < 3; ++k) {
            values[proof::rgb + k] = rgb[i * 3 + k];
        }
        StoreDifferences(way.asked[i], way.printed[i], values);
        values[proof::ink] =
            device.IsInk() ? InkOf(way.device.data() + i * channels, channels) : 0.0f;
    }
}

ColourTable MakeProofTable(const DeviceProfile& device, const ViewerSpace& viewer, PaperWhite white)
{
    const auto sample = [&](const std::uint16_t* codes, std::size_t count, float* values) {
        ProofValues(device, viewer, white, codes, count, values);
    };
    return ColourTable(tableSteps, static_cast<int>(proof::count), sample);
}

} // namespace qva
