// From a picture's samples to linear light in cd/m² with the primaries of ITU-R BT.2020.
#pragma once

#include "colour/colour_interpretation.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qva {

class ProfileTransform;

/// Samples of floating-point pictures that are no light.
struct SampleCounts {
    std::uint64_t notANumber = 0; ///< taken as 0
    std::uint64_t infinite = 0;   ///< brought to the end of the range they point to
    std::uint64_t negative = 0;   ///< finite; kept for the conversion, its result is cut at 0

    void Add(const SampleCounts& other)
    {
        notANumber += other.notANumber;
        infinite += other.infinite;
        negative += other.negative;
    }
};

/// Decodes blocks of pixels. Read-only after construction.
class SceneDecoder {
public:
    /// @param name     of the file, for messages.
    /// @param samples  Halves where DecodeSamples will get such.
    /// @throws Failure for an ICC profile that cannot be used, or unusable primaries.
    SceneDecoder(const Interpretation& interpretation, const std::string& name,
                 SampleKind samples = SampleKind::Floats);
    ~SceneDecoder();

    /// Decodes interleaved R, G, B in place. The results are finite except where a sample was
    /// +infinity: there the same channel stays +infinity. Results can be negative where a colour
    /// lies outside BT.2020. Takes no memory, so that it may stand in a parallel loop.
    /// @param counts  added to.
    void Decode(float* rgb, std::size_t pixels, SampleCounts& counts) const;

    /// Whether DecodeSamples takes samples of a kind.
    bool Takes(SampleKind samples) const
    {
        return samples == SampleKind::Codes ? meaning_.isInteger
                                            : samples == SampleKind::Halves && hasHalves_;
    }

    /// The same from samples of 16 bits, which stay.
    /// @param samples  codes of an integer picture, or the bits of half-floats.
    /// @param rgb      pixels * 3 values, set to what Decode makes of the samples.
    void DecodeSamples(const std::uint16_t* samples, float* rgb, std::size_t pixels,
                       SampleCounts& counts) const;

private:
    using Row = std::array<float, 3>;

    void FinishRun(float* rgb, std::size_t pixels) const;
    double LightOf(double signal) const;
    double SignalOf(double sample) const;
    void BuildTable();
    void BuildHalfTable();
    static void MarkHalves(const std::uint16_t* halves, float* rgb, std::size_t samples,
                           SampleCounts& counts);
    void ApplyTransfer(float* rgb, std::size_t samples) const;
    void ApplyHlgDisplay(float* rgb, std::size_t pixels) const;
    void ApplyMatrix(float* rgb, std::size_t pixels) const;

    Interpretation meaning_;
    std::unique_ptr<ProfileTransform> profile_;
    std::vector<float> table_;    ///< light of every integer code, or of the bits of every half
    std::array<Row, 3> matrix_{}; ///< source primaries to BT.2020
    Row luminanceWeights_{};      ///< of the source primaries
    bool needsMatrix_ = false;
    bool hasHalves_ = false;
};

/// @return the light in cd/m² of a signal; HLG and Profile have none of their own and throw
///         std::logic_error.
double SignalToLuminance(const Interpretation& meaning, double signal);

/// The inverse of SignalToLuminance, for Linear, Power and Pq with luminance inside the range.
double LuminanceToSignal(const Interpretation& meaning, double luminance);

} // namespace qva
