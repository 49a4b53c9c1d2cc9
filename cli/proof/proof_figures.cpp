#include "proof/proof_figures.h"

#include "proof/proof_table.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <iterator>

namespace qva {

namespace {

constexpr std::int64_t cellsOnLongerSide = 32;
constexpr double binWidth = 0.05;
constexpr std::size_t bins = 2000; ///< the last one holds everything above
// Less than half a code of 8 bits is no colour that a display fails to show.
constexpr float viewerTolerance = 0.5f / 255.0f;

std::int64_t Thousandths(float value)
{
    return std::llround(static_cast<double>(value) * 1000.0);
}

/// Of two places with the same value the earlier one counts, whichever comes first.
bool IsWorse(const Place& place, const Place& than)
{
    if (place.value != than.value) {
        return place.value > than.value;
    }
    return place.y != than.y ? place.y < than.y : place.x < than.x;
}

bool IsOutside(const float* rgb)
{
    return std::any_of(rgb, rgb + 3, [](float signal) {
        return signal < -viewerTolerance || signal > 1.0f + viewerTolerance;
    });
}

} // namespace

void Differences::Add(float value)
{
    const std::int64_t thousandths = Thousandths(value);
    sum += thousandths;
    absoluteSum += std::abs(thousandths);
    greatest = std::max(greatest, std::fabs(value));
}

void Differences::Merge(const Differences& other)
{
    sum += other.sum;
    absoluteSum += other.absoluteSum;
    greatest = std::max(greatest, other.greatest);
}

ProofFigures::ProofFigures(ImageSize size, double inkLimit)
    : width_(size.width),
      cellSide_(std::max<std::int64_t>(
          (std::max(size.width, size.height) + cellsOnLongerSide - 1) / cellsOnLongerSide, 1)),
      cellColumns_((size.width + cellSide_ - 1) / cellSide_),
      inkLimit_(inkLimit),
      histogram_(bins),
      worst_(static_cast<std::size_t>(cellColumns_ * ((size.height + cellSide_ - 1) / cellSide_)))
{
}

void ProofFigures::AddPixel(const float* values, const Place& at)
{
    const float deltaE = std::max(values[proof::deltaE], 0.0f);
    const float ink = values[proof::ink];
    deltaE_.Add(deltaE);
    lightness_.Add(values[proof::lightness]);
    chroma_.Add(values[proof::chroma]);
    hue_.Add(values[proof::hue]);
    ++histogram_[std::min(static_cast<std::size_t>(static_cast<double>(deltaE) / binWidth),
                          bins - 1)];
    for (std::size_t step = 0; step < deltaESteps.size(); ++step) {
        above_[step] += static_cast<double>(deltaE) > deltaESteps[step] ? 1 : 0;
    }
    if (ink > mostInk_.value) {
        mostInk_ = {at.x, at.y, ink, at.codes};
    }
    inkSum_ += Thousandths(ink);
    aboveInkLimit_ += static_cast<double>(ink) > inkLimit_ ? 1 : 0;
    outsideViewer_ += IsOutside(values + proof::rgb) ? 1 : 0;
}

void ProofFigures::AddRow(const std::uint16_t* codes, const float* values, std::int64_t y)
{
    const std::size_t firstCell = static_cast<std::size_t>(y / cellSide_ * cellColumns_);
    for (std::int64_t x = 0; x < width_; ++x, codes += 3, values += proof::count) {
        const Place here = {x, y, values[proof::deltaE], {codes[0], codes[1], codes[2]}};
        AddPixel(values, here);
        Place& worst = worst_[firstCell + static_cast<std::size_t>(x / cellSide_)];
        if (here.value > worst.value) {
            worst = here;
        }
    }
    pixels_ += static_cast<std::uint64_t>(width_);
}

void ProofFigures::Merge(const ProofFigures& other)
{
    pixels_ += other.pixels_;
    std::transform(histogram_.begin(), histogram_.end(), other.histogram_.begin(),
                   histogram_.begin(), std::plus<>());
    std::transform(above_.begin(), above_.end(), other.above_.begin(), above_.begin(),
                   std::plus<>());
    deltaE_.Merge(other.deltaE_);
    lightness_.Merge(other.lightness_);
    chroma_.Merge(other.chroma_);
    hue_.Merge(other.hue_);
    for (std::size_t cell = 0; cell < worst_.size(); ++cell) {
        worst_[cell] =
            IsWorse(other.worst_[cell], worst_[cell]) ? other.worst_[cell] : worst_[cell];
    }
    outsideViewer_ += other.outsideViewer_;
    inkSum_ += other.inkSum_;
    mostInk_ = IsWorse(other.mostInk_, mostInk_) ? other.mostInk_ : mostInk_;
    aboveInkLimit_ += other.aboveInkLimit_;
}

double ProofFigures::Percent(std::uint64_t count) const
{
    return pixels_ == 0 ? 0.0 : 100.0 * static_cast<double>(count) / static_cast<double>(pixels_);
}

double ProofFigures::PercentAbove(std::size_t step) const
{
    return Percent(above_[step]);
}

double ProofFigures::MeanOf(std::int64_t thousandths) const
{
    return pixels_ == 0 ? 0.0
                        : static_cast<double>(thousandths) / 1000.0 / static_cast<double>(pixels_);
}

double ProofFigures::GreatestDeltaE() const
{
    return static_cast<double>(deltaE_.greatest);
}

double ProofFigures::DeltaEAt(double share) const
{
    const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(pixels_)));
    std::uint64_t count = 0;
    for (std::size_t bin = 0; bin < bins; ++bin) {
        count += histogram_[bin];
        if (count >= wanted) {
            return std::min(static_cast<double>(bin + 1) * binWidth, GreatestDeltaE());
        }
    }
    return GreatestDeltaE();
}

std::vector<Place> ProofFigures::WorstPlaces(std::size_t count) const
{
    std::vector<Place> sorted;
    std::copy_if(worst_.begin(), worst_.end(), std::back_inserter(sorted),
                 [](const Place& place) { return place.value > 0.0f; });
    std::sort(sorted.begin(), sorted.end(), IsWorse);
    std::vector<Place> places;
    for (const Place& place : sorted) {
        const bool isNear = std::any_of(places.begin(), places.end(), [&](const Place& other) {
            return std::abs(other.x / cellSide_ - place.x / cellSide_) <= 1 &&
                   std::abs(other.y / cellSide_ - place.y / cellSide_) <= 1;
        });
        if (!isNear && places.size() < count) {
            places.push_back(place);
        }
    }
    return places;
}

double ProofFigures::PercentOutsideViewer() const
{
    return Percent(outsideViewer_);
}

double ProofFigures::PercentAboveInkLimit() const
{
    return Percent(aboveInkLimit_);
}

} // namespace qva
