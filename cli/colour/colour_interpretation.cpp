#include "colour/colour_interpretation.h"

#include "base/errors.h"
#include "colour/hdr_profile.h"
#include "colour/profile_transform.h"
#include "colour/transfer_functions.h"

#include <fmt/format.h>

namespace qva {

namespace {

struct TransferCode {
    int code;
    Transfer transfer;
    double exponent;
};

// ITU-T H.273, table 3. The BT.709 camera curves (1, 6, 14, 15) are meant for a display that
// follows ITU-R BT.1886, whose exponent is 2.4.
constexpr TransferCode transferCodes[] = {{1, Transfer::Power, 2.4},  {4, Transfer::Power, 2.2},
                                          {5, Transfer::Power, 2.8},  {6, Transfer::Power, 2.4},
                                          {8, Transfer::Linear, 1.0}, {13, Transfer::Srgb, 1.0},
                                          {14, Transfer::Power, 2.4}, {15, Transfer::Power, 2.4},
                                          {16, Transfer::Pq, 1.0},    {18, Transfer::Hlg, 1.0}};

struct PrimariesCode {
    int code;
    Chromaticities primaries;
};

// ITU-T H.273, table 2.
constexpr PrimariesCode primariesCodes[] = {
    {1, bt709},
    {4, {{0.67, 0.33}, {0.21, 0.71}, {0.14, 0.08}, {0.310, 0.316}}},
    {5, {{0.64, 0.33}, {0.29, 0.60}, {0.15, 0.06}, {0.3127, 0.3290}}},
    {6, {{0.630, 0.340}, {0.310, 0.595}, {0.155, 0.070}, {0.3127, 0.3290}}},
    {7, {{0.630, 0.340}, {0.310, 0.595}, {0.155, 0.070}, {0.3127, 0.3290}}},
    {9, bt2020},
    {11, {{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, {0.314, 0.351}}},
    {12, {{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, {0.3127, 0.3290}}},
};

struct EncodingName {
    const char* name;
    Transfer transfer;
    double exponent;
};

constexpr EncodingName encodingNames[] = {{"linear", Transfer::Linear, 1.0},
                                          {"gamma22", Transfer::Power, 2.2},
                                          {"srgb", Transfer::Srgb, 1.0},
                                          {"pq", Transfer::Pq, 1.0},
                                          {"hlg", Transfer::Hlg, 1.0}};

void ApplyCodeRange(const SourceDescription& description, bool fullRange, Interpretation& meaning)
{
    if (fullRange || description.isFloat) {
        return;
    }
    // ITU-R BT.2100-2, table 9: narrow range, 16 ... 235 times 2^(bits - 8).
    const double unit = (meaning.largestCode + 1.0) / 256.0;
    meaning.codeBlack = 16.0 * unit;
    meaning.codeWhite = 235.0 * unit;
}

void TakeCodePoints(const SourceDescription& description, const CodePoints& points,
                    const std::string& from, Interpretation& meaning)
{
    // 2 is "unspecified": it says nothing, so the default stays.
    bool known = points.transfer == 2;
    for (const TransferCode& entry : transferCodes) {
        if (entry.code == points.transfer) {
            meaning.transfer = entry.transfer;
            meaning.exponent = entry.exponent;
            meaning.transferFrom = from;
            known = true;
        }
    }
    if (!known) {
        throw Failure(description.path, fmt::format("{} names the unknown transfer function {}",
                                                    from, points.transfer));
    }
    known = points.primaries == 2;
    if (known && description.tags.chromaticities && AreUsable(*description.tags.chromaticities)) {
        meaning.primaries = *description.tags.chromaticities;
        meaning.primariesFrom = "chromaticities of the file";
    }
    for (const PrimariesCode& entry : primariesCodes) {
        if (entry.code == points.primaries) {
            meaning.primaries = entry.primaries;
            meaning.primariesFrom = from;
            known = true;
        }
    }
    if (!known) {
        throw Failure(description.path,
                      fmt::format("{} names the unknown primaries {}", from, points.primaries));
    }
    if (points.matrix != 0) {
        throw Failure(description.path, fmt::format("{} names the matrix {}, but only RGB (0) is "
                                                    "allowed",
                                                    from, points.matrix));
    }
    ApplyCodeRange(description, points.fullRange, meaning);
}

void TakeDefaults(const SourceDescription& description, Interpretation& meaning)
{
    meaning.transfer = description.isFloat ? Transfer::Linear : Transfer::Srgb;
    meaning.transferFrom = description.sceneLinear ? "the format" : "default";
    meaning.primaries = bt709;
    meaning.primariesFrom = "default";
    meaning.isInteger = !description.isFloat;
    meaning.largestCode = FullScale(description);
    meaning.codeWhite = meaning.largestCode;
}

void TakeFileTags(const SourceDescription& description, Interpretation& meaning)
{
    const ColourTags& tags = description.tags;
    if (!tags.profile.empty()) {
        meaning.transfer = Transfer::Profile;
        meaning.profile = tags.profile;
        meaning.transferFrom = "embedded ICC profile";
        meaning.primariesFrom = meaning.transferFrom;
        return;
    }
    if (tags.srgb) {
        meaning.transfer = Transfer::Srgb;
        meaning.transferFrom = "sRGB chunk";
        meaning.primariesFrom = meaning.transferFrom;
        return;
    }
    if (tags.gamma) {
        meaning.transfer = Transfer::Power;
        meaning.exponent = *tags.gamma;
        meaning.transferFrom = "gAMA chunk";
    }
    if (tags.chromaticities && AreUsable(*tags.chromaticities)) {
        meaning.primaries = *tags.chromaticities;
        meaning.primariesFrom = "chromaticities of the file";
    } else if (tags.chromaticities) {
        meaning.notes.push_back("the chromaticities of the file make no colour space and are "
                                "ignored");
    }
}

/// An HDR curve in a profile is taken for what it is: the profile would make its top diffuse white.
void TakeHdrProfile(Interpretation& meaning)
{
    if (meaning.transfer != Transfer::Profile) {
        return;
    }
    if (const std::optional<HdrProfile> found = FindHdrCurve(meaning.profile)) {
        meaning.transfer = found->transfer == 16 ? Transfer::Pq : Transfer::Hlg;
        meaning.transferFrom = "curve of the embedded ICC profile";
        meaning.primaries = found->primaries;
        meaning.profile.clear();
    } else if (IsNamedHdr(meaning.profile)) {
        meaning.notes.push_back("the name of its ICC profile says PQ or HLG, its curves do not: if "
                                "the picture is too dark, give --encoding pq or hlg and "
                                "--primaries");
    }
}

void TakeOptions(const SourceOptions& options, Interpretation& meaning)
{
    if (options.encoding) {
        for (const EncodingName& entry : encodingNames) {
            if (*options.encoding == entry.name) {
                meaning.transfer = entry.transfer;
                meaning.exponent = entry.exponent;
            }
        }
        meaning.transferFrom = "--encoding";
        meaning.profile.clear();
    }
    if (options.primaries) {
        if (meaning.transfer == Transfer::Profile) {
            throw Misuse("--primaries", "the picture has an ICC profile; give --encoding too to "
                                        "set it aside");
        }
        meaning.primaries = FindPrimaries(*options.primaries).value_or(bt709);
        meaning.primariesFrom = "--primaries";
    }
}

/// What the file says of the display is believed within the range that --hlg-peak has.
void SetHlgPeak(const SourceDescription& description, const SourceOptions& options,
                Interpretation& meaning)
{
    const double stated = description.tags.whiteLuminance.value_or(0.0);
    const bool isStated =
        !description.sceneLinear && stated >= lowestHlgPeak && stated <= highestHlgPeak;
    meaning.signalOneLuminance = options.hlgPeak.value_or(isStated ? stated : hlgPeak);
    meaning.luminanceFrom =
        fmt::format("HLG on a display of {:.6g} cd/m2", meaning.signalOneLuminance);
    if (options.hlgPeak || isStated) {
        meaning.luminanceFrom += options.hlgPeak ? ", --hlg-peak" : ", as the file says";
    }
}

void SetLuminance(const SourceDescription& description, const SourceOptions& options,
                  Interpretation& meaning)
{
    const bool isPq = meaning.transfer == Transfer::Pq;
    if (options.white && (isPq || meaning.transfer == Transfer::Hlg)) {
        throw Misuse("--white", "the picture is " + NameOfTransfer(meaning) +
                                    " coded, which has no free white");
    }
    if (options.hlgPeak && meaning.transfer != Transfer::Hlg) {
        throw Misuse("--hlg-peak", "the picture is " + NameOfTransfer(meaning) + " coded, not HLG");
    }
    if (options.zeroCodeLuminance || options.largestCodeLuminance) {
        const char* option = options.largestCodeLuminance ? "--luminance-max" : "--luminance-min";
        if (description.isFloat || meaning.transfer == Transfer::Hlg) {
            throw Misuse(option, description.isFloat
                                     ? "the picture holds floating-point values; use --white"
                                     : "the picture is HLG coded, whose luminance is fixed");
        }
    }
    meaning.signalOneLuminance = isPq ? pqPeak : defaultWhite;
    meaning.luminanceFrom = isPq ? "PQ" : defaultScale;
    if (meaning.transfer == Transfer::Hlg) {
        SetHlgPeak(description, options, meaning);
    } else if (!isPq && description.tags.whiteLuminance) {
        meaning.signalOneLuminance = *description.tags.whiteLuminance;
        meaning.luminanceFrom = "the white of the file";
    }
    if (options.white || options.largestCodeLuminance) {
        meaning.signalOneLuminance = options.white ? *options.white : *options.largestCodeLuminance;
        meaning.luminanceFrom = options.white ? "--white" : "--luminance-max";
    }
    // Integers, and values behind a curve, are meant for a screen whose white is the default.
    const bool isScene = description.isFloat || description.sceneLinear;
    const bool isLinear =
        meaning.transfer == Transfer::Linear || meaning.transfer == Transfer::Profile;
    meaning.hasScale = meaning.luminanceFrom != defaultScale || !isScene || !isLinear;
    meaning.signalZeroLuminance = options.zeroCodeLuminance.value_or(0.0);
    if (meaning.signalZeroLuminance >= meaning.signalOneLuminance) {
        throw Misuse("--luminance-min",
                     fmt::format("{} is not below the top of the codes, {} cd/m2",
                                 meaning.signalZeroLuminance, meaning.signalOneLuminance));
    }
}

} // namespace

Interpretation Interpret(const SourceDescription& description, const SourceOptions& options)
{
    Interpretation meaning;
    TakeDefaults(description, meaning);
    std::optional<CodePoints> points = description.tags.codePoints;
    std::string from = description.tags.codePointsFrom;
    if (!points && !options.encoding && !description.tags.profile.empty()) {
        points = FindCodePoints(description.tags.profile);
        from = "cicp tag of the ICC profile";
    }
    if (points) {
        TakeCodePoints(description, *points, from, meaning);
        if (options.encoding || options.primaries) {
            meaning.notes.push_back(fmt::format("the picture's {} is believed; --encoding and "
                                                "--primaries are ignored",
                                                from));
        }
    } else {
        TakeFileTags(description, meaning);
        if (!options.encoding) {
            TakeHdrProfile(meaning);
        }
        TakeOptions(options, meaning);
    }
    SetLuminance(description, options, meaning);
    if (meaning.transferFrom == "--encoding" && description.isFloat &&
        meaning.transfer != Transfer::Linear)
    {
        meaning.notes.push_back(fmt::format("--encoding {} takes its floating-point values as "
                                            "signals from 0 to 1; where they are light, as most "
                                            "are, leave it out",
                                            *options.encoding));
    }
    if (description.hasAlpha) {
        meaning.notes.push_back("the alpha channel is left out; colours are taken as stored");
    }
    if (!description.isFloat && description.bits <= 8) {
        meaning.notes.push_back("8 bits per sample: smooth gradients may show bands");
    }
    return meaning;
}

std::string NameOfTransfer(const Interpretation& interpretation)
{
    switch (interpretation.transfer) {
    case Transfer::Linear:
        return "linear";
    case Transfer::Power:
        return fmt::format("gamma {:.4g}", interpretation.exponent);
    case Transfer::Srgb:
        return "sRGB";
    case Transfer::Pq:
        return "PQ";
    case Transfer::Hlg:
        return "HLG";
    case Transfer::Profile:
        return "ICC profile";
    }
    return "unknown";
}

} // namespace qva
