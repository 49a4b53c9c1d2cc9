// Decides what the samples of a picture mean: what the file says, weighed against the options.
#pragma once

#include "picture/chromaticities.h"
#include "picture/source_description.h"

#include <optional>
#include <string>
#include <vector>

namespace qva {

/// How a signal stands for light.
enum class Transfer {
    Linear,
    Power,  ///< signal ^ exponent
    Srgb,   ///< IEC 61966-2-1
    Pq,     ///< SMPTE ST 2084
    Hlg,    ///< ITU-R BT.2100, shown on a display of the peak signalOneLuminance
    Profile ///< an embedded ICC profile says
};

/// What the user said about a picture; unset where the file is to speak for itself.
struct SourceOptions {
    std::optional<std::string> encoding;        ///< linear, gamma22, srgb, pq, hlg
    std::optional<std::string> primaries;       ///< a name of FindPrimaries
    std::optional<double> white;                ///< cd/m² of the value 1.0
    std::optional<double> zeroCodeLuminance;    ///< cd/m² of integer code 0
    std::optional<double> largestCodeLuminance; ///< cd/m² of the largest integer code
    std::optional<double> hlgPeak;              ///< cd/m², nominal peak of the display for HLG
    std::optional<double> top;                  ///< cd/m², brightest level to render
};

/// cd/m², the peaks that an HLG display may have.
constexpr double lowestHlgPeak = 100.0;
constexpr double highestHlgPeak = 10000.0;

/// cd/m² of diffuse white where nothing says otherwise (ITU-R BT.2408-7, 2.2).
constexpr double defaultWhite = 203.0;

/// What an interpretation says of where that came from.
constexpr const char* defaultScale = "default";

/// The meaning of a picture's samples: signal = (sample - codeBlack) / (codeWhite - codeBlack).
struct Interpretation {
    Transfer transfer = Transfer::Linear;
    double exponent = 1.0; ///< for Transfer::Power
    Chromaticities primaries = bt709;
    double codeBlack = 0.0;
    double codeWhite = 1.0;
    bool isInteger = false; ///< samples are whole numbers 0 ... largestCode
    double largestCode = 1.0;
    /// cd/m² of signal 0 and 1; for Transfer::Pq the signals in between lie on a straight line
    /// between the PQ signals of both, for others their light does. For HLG the second is the peak
    /// of the display, and the first is not used.
    double signalZeroLuminance = 0.0;
    double signalOneLuminance = defaultWhite;
    bool hasScale = true; ///< false: scene values of which nobody says what light they are
    std::vector<unsigned char> profile; ///< for Transfer::Profile
    std::string transferFrom;           ///< for people: "cICP chunk", "--encoding"
    std::string primariesFrom;
    std::string luminanceFrom;
    std::vector<std::string> notes; ///< sentences the user should read
};

/// Weighs the file's statements and the options. Code points (cICP) are believed above all, then
/// come the options, the embedded profile, sRGB, chromaticities and gamma, then a default:
/// scene-linear BT.709 for floating-point samples, sRGB for integers.
/// @throws Failure where the file says something that is not known.
/// @throws Misuse where an option does not fit the picture.
Interpretation Interpret(const SourceDescription& description, const SourceOptions& options);

/// For people: "PQ", "linear", "gamma 2.2".
std::string NameOfTransfer(const Interpretation& interpretation);

} // namespace qva
