// How a page is cut into bands, the bands into strips of the result, and the bands into shares.
#pragma once

#include "picture/source_description.h"

#include <cstdint>
#include <optional>

namespace qva {

/// Bytes a page may take where the user does not say.
constexpr std::uint64_t defaultMaxMemory = 1000000000;

/// What a line of the page is: bands are runs of lines.
enum class Direction { Rows, Columns };

/// Lines first ... first + count - 1.
struct LineRun {
    std::int64_t first = 0;
    std::int64_t count = 0;

    std::int64_t End() const { return first + count; }
};

/// A band is rendered with margins, of which only the inner lines are kept.
struct Band {
    LineRun inner;
    LineRun outer;
};

/// A run of bands that one machine renders: share `number` of `count`, from 1.
struct Share {
    std::int64_t number = 1;
    std::int64_t count = 1;
};

/// What the user can choose about bands.
struct PageCut {
    std::uint64_t maxMemory = defaultMaxMemory; ///< bytes the whole program may need
    std::optional<std::int64_t> bandLines;      ///< instead of what maxMemory allows
    std::optional<Direction> direction;         ///< what the picture's orientation suggests
    std::optional<Share> share;                 ///< the whole page where not given
};

/// What decides the cut of a page besides its size.
struct BandSettings {
    Direction direction = Direction::Rows;
    std::uint64_t maxMemory = defaultMaxMemory; ///< bytes the whole program may need
    std::optional<std::int64_t> bandLines;      ///< instead of what maxMemory allows
    std::optional<std::int64_t> marginLines;    ///< instead of MarginFor
    std::uint64_t decodeBytes = 0;              ///< what reading the picture's file takes besides
};

/// The cut of one page. It follows from the page's size and BandSettings alone, so that every
/// machine that works on the page cuts it in the same way.
struct BandPlan {
    ImageSize page; ///< upright
    Direction direction = Direction::Rows;
    std::int64_t margin = 0;       ///< lines on each side of a band that are rendered and dropped
    std::int64_t bandLines = 0;    ///< kept lines of every band but the last
    std::int64_t stripLines = 0;   ///< of a strip of the result; divides bandLines
    std::uint64_t decodeBytes = 0; ///< what reading the picture's file takes besides

    std::int64_t Lines() const;
    std::int64_t LineLength() const; ///< pixels
    std::int64_t Bands() const;

    /// @param index  0 ... Bands() - 1.
    Band BandAt(std::int64_t index) const;

    /// The bands of one of several shares, as even as whole bands allow.
    /// @param share  1 ... shares.
    LineRun BandsOfShare(std::int64_t share, std::int64_t shares) const;

    /// The lines of a run of bands.
    LineRun LinesOf(const LineRun& bands) const;
};

/// Lines beyond which a band's content cannot be told from outside it: the larger of what the
/// library recommends and what the strength of its smoothers on a page of this size needs.
std::int64_t MarginFor(ImageSize page);

/// @throws Failure where maxMemory does not hold a band of one strip.
/// @param name  of the picture, for messages.
BandPlan MakeBandPlan(ImageSize page, const BandSettings& settings, const std::string& name);

/// The cut of a picture's page as the user wants it.
/// @throws Failure, also where there are fewer bands than shares.
BandPlan PlanFor(const PageCut& cut, const SourceDescription& description);

/// Bytes that the whole program needs at its peak, in bands and for a page at once.
std::uint64_t BandMemory(const BandPlan& plan);
std::uint64_t PrintMemory(ImageSize page);

/// Bytes that no page does without.
std::uint64_t LeastMemory();

} // namespace qva
