// What a proof says in numbers: how far the paper is from what was asked, and how much ink it
// takes.
#pragma once

#include "picture/source_description.h"

#include <array>
#include <cstdint>
#include <vector>

namespace qva {

/// The steps of the gamut map, ΔE 2000.
constexpr std::array<double, 5> deltaESteps = {1.0, 2.0, 3.0, 5.0, 10.0};

/// A place in the picture, with the greatest value of its surroundings.
struct Place {
    std::int64_t x = 0;
    std::int64_t y = 0;
    float value = -1.0f;                  ///< below 0 for none
    std::array<std::uint16_t, 3> codes{}; ///< of the result there
};

/// Sums of one kind of difference. They are whole numbers, so that their order does not matter.
struct Differences {
    std::int64_t sum = 0;         ///< thousandths
    std::int64_t absoluteSum = 0; ///< thousandths
    float greatest = 0.0f;        ///< without its sign

    void Add(float value);
    void Merge(const Differences& other);
};

/// Figures of the pixels that were added; rows may be gathered apart and merged in any order.
class ProofFigures {
public:
    /// @param inkLimit  percent of total area coverage.
    ProofFigures(ImageSize size, double inkLimit);

    /// @param codes   of a row of the result.
    /// @param values  of proof_table.h for each pixel.
    void AddRow(const std::uint16_t* codes, const float* values, std::int64_t y);
    void Merge(const ProofFigures& other);

    std::uint64_t Pixels() const { return pixels_; }

    /// Percent of the pixels whose ΔE lies above deltaESteps[step].
    double PercentAbove(std::size_t step) const;
    double MeanDeltaE() const { return MeanOf(deltaE_.sum); }
    double GreatestDeltaE() const;
    /// The mean of a sum of thousandths over all pixels.
    double MeanOf(std::int64_t thousandths) const;

    /// ΔE that a share of the pixels does not exceed, to 0.05.
    double DeltaEAt(double share) const;

    const Differences& Lightness() const { return lightness_; }
    const Differences& Chroma() const { return chroma_; }
    const Differences& Hue() const { return hue_; }

    /// The places farthest from what was asked, the worst first; no two in neighbouring cells of a
    /// grid of 32 on the longer side.
    std::vector<Place> WorstPlaces(std::size_t count) const;

    double PercentOutsideViewer() const;
    double MeanInk() const { return MeanOf(inkSum_); }
    const Place& MostInk() const { return mostInk_; }
    double PercentAboveInkLimit() const;
    double InkLimit() const { return inkLimit_; }

private:
    double Percent(std::uint64_t count) const;
    void AddPixel(const float* values, const Place& at);

    std::int64_t width_;
    std::int64_t cellSide_;
    std::int64_t cellColumns_;
    double inkLimit_;
    std::uint64_t pixels_ = 0;
    std::vector<std::uint64_t> histogram_; ///< of ΔE
    std::array<std::uint64_t, deltaESteps.size()> above_{};
    Differences deltaE_;
    Differences lightness_;
    Differences chroma_;
    Differences hue_;
    std::vector<Place> worst_; ///< of each cell
    std::uint64_t outsideViewer_ = 0;
    std::int64_t inkSum_ = 0; ///< thousandths of a percent
    Place mostInk_;
    std::uint64_t aboveInkLimit_ = 0;
};

} // namespace qva
