#include "proof/printer_check.h"

#include "base/errors.h"
#include "colour/icc_builder.h"
#include "colour/lcms_handles.h"
#include "proof/proof_table.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <numbers>

namespace qva {

namespace {

/// Codes of a result for colours that are given otherwise.
class CodesOf {
public:
    CodesOf()
        : codes_(OpenProfile(context_.get(), RenderedProfile())),
          lab_(cmsCreateLab4ProfileTHR(context_.get(), nullptr)),
          srgb_(cmsCreate_sRGBProfileTHR(context_.get())),
          fromLab_(Make(lab_, TYPE_Lab_DBL)),
          fromSrgb_(Make(srgb_, TYPE_RGB_8))
    {
    }

    void Lab(const qva::Lab* colours, std::size_t count, std::uint16_t* codes) const
    {
        cmsDoTransform(fromLab_.get(), colours, codes, static_cast<cmsUInt32Number>(count));
    }

    void Srgb(const std::uint8_t* colour, std::uint16_t* codes) const
    {
        cmsDoTransform(fromSrgb_.get(), colour, codes, 1);
    }

private:
    TransformHandle Make(const ProfileHandle& from, cmsUInt32Number format) const
    {
        return TransformHandle(cmsCreateTransformTHR(
            context_.get(), from.get(), format, codes_.get(), TYPE_RGB_16,
            INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
    }

    ContextHandle context_ = MakeContext();
    ProfileHandle codes_;
    ProfileHandle lab_;
    ProfileHandle srgb_;
    TransformHandle fromLab_;
    TransformHandle fromSrgb_;
};

std::vector<Lab> Printed(const DeviceProfile& device, const std::vector<std::uint16_t>& codes,
                         PaperWhite white)
{
    const std::size_t count = codes.size() / 3;
    std::vector<std::uint16_t> values(count * static_cast<std::size_t>(device.Channels()));
    device.FromCodes(codes.data(), count, values.data());
    std::vector<Lab> lab(count);
    device.ToLab(values.data(), count, white, lab.data());
    return lab;
}

/// As Printed, and then asked for again.
std::vector<Lab> PrintedAgain(const DeviceProfile& device, const CodesOf& codesOf,
                              const std::vector<Lab>& colours)
{
    std::vector<std::uint16_t> codes(colours.size() * 3);
    codesOf.Lab(colours.data(), colours.size(), codes.data());
    return Printed(device, codes, PaperWhite::Adapted);
}

double Luminance(const Lab& lab)
{
    const cmsCIELab record = {lab[0], lab[1], lab[2]};
    cmsCIEXYZ xyz;
    cmsLab2XYZ(nullptr, &xyz, &record);
    return xyz.Y;
}

/// Codes on a grid over all of them.
std::vector<std::uint16_t> GridOfCodes(std::uint32_t steps)
{
    std::vector<std::uint16_t> codes;
    for (std::uint32_t i = 0; i < (steps + 1) * (steps + 1) * (steps + 1); ++i) {
        for (const std::uint32_t place :
             {i % (steps + 1), i / (steps + 1) % (steps + 1), i / (steps + 1) / (steps + 1)})
        {
            codes.push_back(static_cast<std::uint16_t>(place * 65535 / steps));
        }
    }
    return codes;
}

void MeasureRoundTrip(const DeviceProfile& device, const CodesOf& codesOf,
                      PrinterMeasures& measures)
{
    const std::vector<Lab> first = Printed(device, GridOfCodes(16), PaperWhite::Adapted);
    const std::vector<Lab> again = PrintedAgain(device, codesOf, first);
    std::vector<double> differences;
    for (std::size_t i = 0; i < first.size(); ++i) {
        differences.push_back(DeltaE2000(first[i], again[i]));
    }
    std::sort(differences.begin(), differences.end());
    measures.roundTripMedian = differences[differences.size() / 2];
    measures.roundTripMost = differences[differences.size() * 99 / 100];
}

/// Codes of a face of the cube of all codes, row by row.
/// @param axis  0 ... 2, which is the same everywhere on the face: 0 or 65535.
std::vector<std::uint16_t> FaceOfCodes(std::size_t axis, bool isFar, std::uint32_t steps)
{
    std::vector<std::uint16_t> codes((steps + 1) * (steps + 1) * 3);
    std::uint16_t* code = codes.data();
    for (std::uint32_t v = 0; v <= steps; ++v) {
        for (std::uint32_t u = 0; u <= steps; ++u, code += 3) {
            code[axis] = isFar ? 65535 : 0;
            code[(axis + 1) % 3] = static_cast<std::uint16_t>(u * 65535 / steps);
            code[(axis + 2) % 3] = static_cast<std::uint16_t>(v * 65535 / steps);
        }
    }
    return codes;
}

/// Six times the volume of a pyramid over a triangle, its top at the origin; with a sign.
double Pyramid(const Lab& a, const Lab& b, const Lab& c)
{
    return a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
           a[2] * (b[0] * c[1] - b[1] * c[0]);
}

/// The rim of all that can be asked for is printed as the rim of all that can be printed: a closed
/// surface, whose pyramids make the volume within, whatever folds the tables have.
double GamutVolume(const DeviceProfile& device)
{
    constexpr std::uint32_t steps = 48;
    double volume = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (const bool isFar : {false, true}) {
            const std::vector<Lab> face =
                Printed(device, FaceOfCodes(axis, isFar, steps), PaperWhite::Adapted);
            double sum = 0.0;
            for (std::uint32_t i = 0; i < steps * steps; ++i) {
                const Lab* corner = face.data() + i / steps * (steps + 1) + i % steps;
                const Lab* above = corner + steps + 1;
                sum += Pyramid(corner[0], corner[1], above[1]) +
                       Pyramid(corner[0], above[1], above[0]);
            }
            volume += isFar ? sum : -sum;
        }
    }
    return std::fabs(volume) / 6.0;
}

std::array<StrongColour, 6> StrongColours(const DeviceProfile& device, const CodesOf& codesOf)
{
    constexpr std::array<std::uint8_t, 3> values[] = {{255, 0, 0},   {255, 255, 0}, {0, 255, 0},
                                                      {0, 255, 255}, {0, 0, 255},   {255, 0, 255}};
    std::array<StrongColour, 6> strong = {
        {{"red"}, {"yellow"}, {"green"}, {"cyan"}, {"blue"}, {"magenta"}}};
    for (std::size_t i = 0; i < strong.size(); ++i) {
        std::array<std::uint16_t, 3> codes{};
        codesOf.Srgb(values[i].data(), codes.data());
        const PrintedColour colour = PrintedColourOf(device, codes.data());
        const double asked = std::hypot(colour.asked[1], colour.asked[2]);
        const double printed = std::hypot(colour.printed[1], colour.printed[2]);
        const double turned = std::atan2(colour.printed[2], colour.printed[1]) -
                              std::atan2(colour.asked[2], colour.asked[1]);
        strong[i].chromaLost = 100.0 * (1.0 - printed / asked);
        strong[i].hueTurned = std::remainder(turned * 180.0 / std::numbers::pi, 360.0);
    }
    return strong;
}

double MostInk(const DeviceProfile& device)
{
    if (!device.IsInk()) {
        return 0.0;
    }
    const std::vector<std::uint16_t> codes = GridOfCodes(32);
    const auto channels = static_cast<std::size_t>(device.Channels());
    std::vector<std::uint16_t> inks(codes.size() / 3 * channels);
    device.FromCodes(codes.data(), codes.size() / 3, inks.data());
    double most = 0.0;
    for (std::size_t i = 0; i < inks.size(); i += channels) {
        double sum = 0.0;
        for (std::size_t k = 0; k < channels; ++k) {
            sum += inks[i + k] * 100.0 / 65535.0;
        }
        most = std::max(most, sum);
    }
    return most;
}

std::string WhiteWords(const Lab& white)
{
    constexpr double seen = 3.0;
    if (white[0] < 88.0) {
        return "dark paper: highlights end in its grey";
    }
    if (white[2] > seen) {
        return "warm paper: whites are as yellow as it is";
    }
    return white[2] < -seen ? "bluish paper: whites are as blue as it is" : "neutral paper";
}

std::string ContrastWords(double contrast)
{
    const double stops = std::log2(contrast);
    const char* words = stops >= 7.0   ? "deep blacks: night and shade keep their depth"
                        : stops >= 5.5 ? "good blacks"
                        : stops >= 4.3 ? "soft blacks: shade is lifted, pictures look matte"
                                       : "grey blacks: shade is flat, pictures need bright tones";
    return fmt::format("{} ({:.1f} stops from white to black)", words, stops);
}

} // namespace

PrinterMeasures MeasurePrinter(const PrinterProfile& profile, const std::string& name)
{
    const DeviceProfile device(profile, {false, false}, name);
    const CodesOf codesOf;
    PrinterMeasures measures;
    const std::vector<Lab> ends =
        Printed(device, {65535, 65535, 65535, 0, 0, 0}, PaperWhite::Shown);
    measures.white = ends[0];
    measures.black = ends[1];
    measures.contrast = Luminance(ends[0]) / std::max(Luminance(ends[1]), 1e-6);
    measures.gamutVolume = GamutVolume(device);
    MeasureRoundTrip(device, codesOf, measures);
    measures.mostInk = MostInk(device);
    measures.strong = StrongColours(device, codesOf);
    return measures;
}

std::vector<std::string> WordsFor(const PrinterMeasures& measures)
{
    constexpr double muted = 10.0;
    constexpr double turned = 12.0;
    std::vector<std::string> words = {WhiteWords(measures.white), ContrastWords(measures.contrast)};
    std::vector<std::string> losses;
    std::vector<std::string> turns;
    for (const StrongColour& colour : measures.strong) {
        if (colour.chromaLost > muted) {
            losses.push_back(fmt::format("{} (-{:.0f} %)", colour.name, colour.chromaLost));
        }
        if (std::fabs(colour.hueTurned) > turned) {
            turns.push_back(fmt::format("{} ({:+.0f} degrees)", colour.name, colour.hueTurned));
        }
    }
    words.push_back(losses.empty()
                        ? "holds the strong colours of a screen"
                        : fmt::format("mutes strong colours: {}", fmt::join(losses, ", ")));
    if (!turns.empty()) {
        words.push_back(fmt::format("turns the hue of: {}", fmt::join(turns, ", ")));
    }
    if (measures.roundTripMost > 3.0) {
        words.push_back(fmt::format("coarse tables: colours that the paper has may be off by delta "
                                    "E {:.1f}",
                                    measures.roundTripMost));
    }
    return words;
}

} // namespace qva
