#include "colour/scene_decoder.h"

#include "base/errors.h"
#include "colour/profile_transform.h"
#include "colour/transfer_functions.h"

#include <Imath/half.h>
#include <algorithm>
#include <bitset>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace qva {

namespace {

double Between(double signal, double bottom, double top)
{
    return bottom + signal * (top - bottom);
}

// Pixels that are decoded together, so that what is remembered of them lies on the stack: rows are
// decoded in parallel loops, which a failed request for memory would end together with the program.
constexpr std::size_t pixelsAtOnce = 1024;
using Places = std::bitset<pixelsAtOnce * 3>;

// IEEE 754, half: a sign, five bits of exponent, ten of fraction. All bits of the exponent are set
// in infinities and, with a fraction, in what is not a number.
constexpr unsigned signBit = 0x8000;
constexpr unsigned infinityBits = 0x7c00;

/// Takes the samples that are no light out of the picture.
/// @return where +infinity stood.
Places Clean(float* rgb, std::size_t samples, SampleCounts& counts)
{
    Places infinite;
    for (std::size_t i = 0; i < samples; ++i) {
        const float sample = rgb[i];
        if (std::isnan(sample)) {
            ++counts.notANumber;
            rgb[i] = 0.0f;
        } else if (std::isinf(sample)) {
            ++counts.infinite;
            rgb[i] = 0.0f;
            infinite[i] = sample > 0.0f;
        } else if (sample < 0.0f) {
            ++counts.negative;
        }
    }
    return infinite;
}

} // namespace

double SignalToLuminance(const Interpretation& meaning, double signal)
{
    const double bottom = meaning.signalZeroLuminance;
    const double span = meaning.signalOneLuminance - meaning.signalZeroLuminance;
    switch (meaning.transfer) {
    case Transfer::Linear:
        return bottom + span * signal;
    case Transfer::Power:
        return bottom + span * PowerToLinear(signal, meaning.exponent);
    case Transfer::Srgb:
        return bottom + span * SrgbToLinear(signal);
    case Transfer::Pq:
        if (bottom <= 0.0 && meaning.signalOneLuminance >= pqPeak) {
            return PqToLuminance(signal);
        }
        return PqToLuminance(
            Between(signal, LuminanceToPq(bottom), LuminanceToPq(meaning.signalOneLuminance)));
    case Transfer::Hlg:
    case Transfer::Profile:
        break;
    }
    throw std::logic_error("the transfer has no luminance of a single channel");
}

double LuminanceToSignal(const Interpretation& meaning, double luminance)
{
    if (meaning.transfer == Transfer::Pq) {
        const double bottom = LuminanceToPq(meaning.signalZeroLuminance);
        const double top = LuminanceToPq(meaning.signalOneLuminance);
        return (LuminanceToPq(luminance) - bottom) / (top - bottom);
    }
    const double light = (luminance - meaning.signalZeroLuminance) /
                         (meaning.signalOneLuminance - meaning.signalZeroLuminance);
    return meaning.transfer == Transfer::Linear ? light
                                                : PowerToLinear(light, 1.0 / meaning.exponent);
}

SceneDecoder::SceneDecoder(const Interpretation& interpretation, const std::string& name,
                           SampleKind samples)
    : meaning_(interpretation)
{
    if (meaning_.transfer == Transfer::Profile) {
        profile_ = std::make_unique<ProfileTransform>(meaning_.profile, name);
    } else if (!AreUsable(meaning_.primaries)) {
        throw Failure(name, "its primaries make no colour space");
    }
    if (meaning_.isInteger) {
        BuildTable();
    } else if (samples == SampleKind::Halves) {
        BuildHalfTable();
    }
    needsMatrix_ = !profile_ && !SamePrimaries(meaning_.primaries, bt2020);
    const Matrix3 matrix = ToBt2020(meaning_.primaries);
    const Matrix3 toXyz = RgbToXyz(meaning_.primaries);
    for (int row = 0; row < 3; ++row) {
        luminanceWeights_[row] = static_cast<float>(toXyz[1][row]);
        for (int column = 0; column < 3; ++column) {
            matrix_[row][column] = static_cast<float>(matrix[row][column]);
        }
    }
}

SceneDecoder::~SceneDecoder() = default;

double SceneDecoder::SignalOf(double sample) const
{
    return (sample - meaning_.codeBlack) / (meaning_.codeWhite - meaning_.codeBlack);
}

double SceneDecoder::LightOf(double signal) const
{
    if (meaning_.transfer == Transfer::Profile) {
        return signal;
    }
    if (meaning_.transfer == Transfer::Hlg) {
        return HlgToSceneLight(signal);
    }
    return SignalToLuminance(meaning_, signal);
}

void SceneDecoder::BuildTable()
{
    table_.resize(static_cast<std::size_t>(meaning_.largestCode) + 1);
    for (std::size_t code = 0; code < table_.size(); ++code) {
        table_[code] = static_cast<float>(LightOf(SignalOf(static_cast<double>(code))));
    }
}

void SceneDecoder::BuildHalfTable()
{
    hasHalves_ = true;
    table_.resize(std::size_t{1} << 16);
    SampleCounts counts;
    for (std::size_t bits = 0; bits < table_.size(); ++bits) {
        table_[bits] = imath_half_to_float(static_cast<std::uint16_t>(bits));
        Clean(&table_[bits], 1, counts);
        ApplyTransfer(&table_[bits], 1);
    }
}

void SceneDecoder::DecodeSamples(const std::uint16_t* samples, float* rgb, std::size_t pixels,
                                 SampleCounts& counts) const
{
    unsigned all = 0;
    unsigned highest = 0;
    for (std::size_t i = 0; i < pixels * 3; ++i) {
        const unsigned bits = samples[i];
        rgb[i] = table_[bits];
        all |= bits;
        highest = std::max(highest, bits & ~signBit);
    }
    FinishRun(rgb, pixels);
    if (hasHalves_ && ((all & signBit) != 0 || highest >= infinityBits)) {
        MarkHalves(samples, rgb, pixels * 3, counts);
    }
}

void SceneDecoder::MarkHalves(const std::uint16_t* halves, float* rgb, std::size_t samples,
                              SampleCounts& counts)
{
    for (std::size_t i = 0; i < samples; ++i) {
        const unsigned magnitude = halves[i] & ~signBit;
        if (magnitude > infinityBits) {
            ++counts.notANumber;
        } else if (magnitude == infinityBits) {
            ++counts.infinite;
            rgb[i] = halves[i] == infinityBits ? std::numeric_limits<float>::infinity() : rgb[i];
        } else if (halves[i] > signBit) {
            ++counts.negative;
        }
    }
}

void SceneDecoder::Decode(float* rgb, std::size_t pixels, SampleCounts& counts) const
{
    if (meaning_.isInteger) {
        ApplyTransfer(rgb, pixels * 3);
        FinishRun(rgb, pixels);
        return;
    }
    for (std::size_t first = 0; first < pixels; first += pixelsAtOnce) {
        float* some = rgb + first * 3;
        const std::size_t count = std::min(pixelsAtOnce, pixels - first);
        const Places infinite = Clean(some, count * 3, counts);
        ApplyTransfer(some, count * 3);
        FinishRun(some, count);
        for (std::size_t i = 0; infinite.any() && i < count * 3; ++i) {
            some[i] = infinite[i] ? std::numeric_limits<float>::infinity() : some[i];
        }
    }
}

void SceneDecoder::FinishRun(float* rgb, std::size_t pixels) const
{
    if (profile_) {
        profile_->Convert(rgb, pixels);
        for (std::size_t i = 0; i < pixels * 3; ++i) {
            const double light = std::isfinite(rgb[i]) ? rgb[i] : 0.0;
            rgb[i] = static_cast<float>(
                meaning_.signalZeroLuminance +
                light * (meaning_.signalOneLuminance - meaning_.signalZeroLuminance));
        }
    }
    if (meaning_.transfer == Transfer::Hlg) {
        ApplyHlgDisplay(rgb, pixels);
    }
    if (needsMatrix_) {
        ApplyMatrix(rgb, pixels);
    }
}

void SceneDecoder::ApplyTransfer(float* rgb, std::size_t samples) const
{
    // A finite product of finite values; beyond this a matrix could reach infinity.
    constexpr double largest = 1e30;
    if (meaning_.isInteger) {
        for (std::size_t i = 0; i < samples; ++i) {
            rgb[i] = table_[static_cast<std::size_t>(rgb[i])];
        }
        return;
    }
    for (std::size_t i = 0; i < samples; ++i) {
        rgb[i] = static_cast<float>(std::clamp(LightOf(SignalOf(rgb[i])), -largest, largest));
    }
}

void SceneDecoder::ApplyHlgDisplay(float* rgb, std::size_t pixels) const
{
    // ITU-R BT.2100-2, table 5, OOTF: F = alpha Ys^(gamma - 1) E, black level 0.
    const double peak = meaning_.signalOneLuminance;
    const double exponent = HlgSystemGamma(peak) - 1.0;
    for (std::size_t i = 0; i < pixels; ++i) {
        float* pixel = rgb + i * 3;
        const float light = luminanceWeights_[0] * pixel[0] + luminanceWeights_[1] * pixel[1] +
                            luminanceWeights_[2] * pixel[2];
        const double gain = peak * std::pow(std::max(static_cast<double>(light), 0.0), exponent);
        for (int k = 0; k < 3; ++k) {
            pixel[k] = static_cast<float>(pixel[k] * gain);
        }
    }
}

void SceneDecoder::ApplyMatrix(float* rgb, std::size_t pixels) const
{
    for (std::size_t i = 0; i < pixels; ++i) {
        float* pixel = rgb + i * 3;
        const Row in = {pixel[0], pixel[1], pixel[2]};
        for (int k = 0; k < 3; ++k) {
            pixel[k] = matrix_[k][0] * in[0] + matrix_[k][1] * in[1] + matrix_[k][2] * in[2];
        }
    }
}

} // namespace qva
