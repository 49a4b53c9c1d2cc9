#include "colour/gain_map.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace qva {

namespace {

constexpr double mostStops = 32.0;

/// Takes big-endian numbers from the front of a record.
class RecordReader {
public:
    explicit RecordReader(std::span<const unsigned char> bytes) : bytes_(bytes) {}

    std::uint32_t Unsigned(std::size_t count)
    {
        if (bytes_.size() < count) {
            throw GainMapProblem("ends early");
        }
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < count; ++i) {
            number = number << 8 | bytes_[i];
        }
        bytes_ = bytes_.subspan(count);
        return number;
    }

    double Signed() { return static_cast<std::int32_t>(Unsigned(4)); }

private:
    std::span<const unsigned char> bytes_;
};

/// Takes fractions whose denominators stand behind each numerator, or once before them all.
class FractionReader {
public:
    FractionReader(RecordReader& record, bool isCommon) : record_(record)
    {
        common_ = isCommon ? record.Unsigned(4) : 0;
        if (isCommon && common_ == 0) {
            throw GainMapProblem("has a denominator of 0");
        }
    }

    double Unsigned() { return Divide(record_.Unsigned(4)); }
    double Signed() { return Divide(record_.Signed()); }

private:
    double Divide(double numerator)
    {
        const std::uint32_t denominator = common_ != 0 ? common_ : record_.Unsigned(4);
        if (denominator == 0) {
            throw GainMapProblem("has a denominator of 0");
        }
        return numerator / denominator;
    }

    RecordReader& record_;
    std::uint32_t common_ = 0;
};

GainMapChannel ReadChannel(FractionReader& fractions)
{
    GainMapChannel channel;
    channel.min = fractions.Signed();
    channel.max = fractions.Signed();
    channel.gamma = fractions.Unsigned();
    channel.baseOffset = fractions.Signed();
    channel.alternateOffset = fractions.Signed();
    return channel;
}

/// Where sample i of count lies among others samples over the same length.
/// @return the sample before it and the way to the next, both inside the others.
std::pair<std::int64_t, float> PlaceAmong(std::int64_t i, std::int64_t count, std::int64_t others)
{
    const double scale = static_cast<double>(others) / static_cast<double>(count);
    const double place = std::clamp((static_cast<double>(i) + 0.5) * scale - 0.5, 0.0,
                                    static_cast<double>(others - 1));
    const auto before = static_cast<std::int64_t>(place);
    return {before, static_cast<float>(place - static_cast<double>(before))};
}

double StopsOf(const GainMapChannel& channel, double sample)
{
    return channel.min + (channel.max - channel.min) * std::pow(sample, 1.0 / channel.gamma);
}

/// Published by Apple, "Applying Apple HDR effect to your photos".
double ProportionalGain(const GainMapNumbers& numbers, double headroom, double sample)
{
    // ITU-R BT.709-6, table 1, item 1.2, solved for the light.
    const double share =
        sample < 0.081 ? sample / 4.5 : std::pow((sample + 0.099) / 1.099, 1.0 / 0.45);
    const double stops = std::clamp(headroom, 0.0, numbers.alternateHeadroom);
    return 1.0 + (std::exp2(stops) - 1.0) * share;
}

} // namespace

GainMapNumbers ParseGainMap(std::span<const unsigned char> record)
{
    // Flags of the fifth byte. The last is of a draft that some programs still write.
    constexpr std::uint32_t isPerChannel = 0x80;
    constexpr std::uint32_t usesBaseColours = 0x40;
    constexpr std::uint32_t hasCommonDenominator = 0x08;
    RecordReader reader(record);
    const std::uint32_t needed = reader.Unsigned(2);
    if (needed != 0) {
        throw GainMapProblem(fmt::format("is of the unknown version {}", needed));
    }
    reader.Unsigned(2); // the writer's version: it only adds to the end
    const std::uint32_t flags = reader.Unsigned(1);
    GainMapNumbers numbers;
    numbers.usesBaseColours = (flags & usesBaseColours) != 0;
    FractionReader fractions(reader, (flags & hasCommonDenominator) != 0);
    numbers.baseHeadroom = fractions.Unsigned();
    numbers.alternateHeadroom = fractions.Unsigned();
    numbers.channels[0] = ReadChannel(fractions);
    for (std::size_t k : {1U, 2U}) {
        numbers.channels[k] =
            (flags & isPerChannel) != 0 ? ReadChannel(fractions) : numbers.channels[0];
    }
    CheckGainMap(numbers);
    return numbers;
}

GainMapNumbers ParseGainMapItem(std::span<const unsigned char> payload)
{
    if (payload.empty()) {
        throw GainMapProblem("is empty");
    }
    if (payload[0] != 0) {
        throw GainMapProblem(fmt::format("is of the unknown version {}", payload[0]));
    }
    return ParseGainMap(payload.subspan(1));
}

void CheckGainMap(const GainMapNumbers& numbers)
{
    // Written so that a not-a-number fails.
    const auto isStops = [](double stops) { return std::abs(stops) <= mostStops; };
    bool fits = isStops(numbers.baseHeadroom) && isStops(numbers.alternateHeadroom) &&
                numbers.baseHeadroom >= 0.0 && numbers.alternateHeadroom >= 0.0;
    for (const GainMapChannel& channel : numbers.channels) {
        fits = fits && isStops(channel.min) && isStops(channel.max) && channel.min <= channel.max &&
               channel.gamma >= 1e-3 && channel.gamma <= 1e3 &&
               std::abs(channel.baseOffset) <= 1.0 && std::abs(channel.alternateOffset) <= 1.0;
    }
    if (!fits) {
        throw GainMapProblem("has numbers that make no sense");
    }
}

double FullHeadroom(const GainMapNumbers& numbers)
{
    return std::max(numbers.baseHeadroom, numbers.alternateHeadroom);
}

double GainWeight(const GainMapNumbers& numbers, double headroom)
{
    const double span = numbers.alternateHeadroom - numbers.baseHeadroom;
    if (span == 0.0) {
        return 0.0;
    }
    // ISO 21496-1, 6.3: gains lead from dark to bright, so they are taken back from a bright base.
    const double weight = std::clamp((headroom - numbers.baseHeadroom) / span, 0.0, 1.0);
    return span > 0.0 ? weight : -weight;
}

GainMapper::GainMapper(const GainMapNumbers& numbers, ImageSize map, int mapChannels,
                       ImageSize picture, double headroom)
    : map_(map), channels_(mapChannels), picture_(picture)
{
    columns_.reserve(static_cast<std::size_t>(picture.width));
    for (std::int64_t x = 0; x < picture.width; ++x) {
        const auto [left, fraction] = PlaceAmong(x, picture.width, map.width);
        const std::int64_t right = std::min(left + 1, map.width - 1);
        columns_.push_back({static_cast<std::uint32_t>(left * channels_),
                            static_cast<std::uint32_t>(right * channels_), fraction});
    }
    BuildGains(numbers, headroom);
    isGrey_ = channels_ == 1 && gains_[0] == gains_[1] && gains_[0] == gains_[2];
}

void GainMapper::BuildGains(const GainMapNumbers& numbers, double headroom)
{
    // As many steps that a straight line between two of them is off by less than a float's last
    // places, but next to 0 where a gamma above 1 is steepest.
    constexpr std::size_t steps = 1 << 14;
    const double weight = GainWeight(numbers, headroom);
    // With no part of the gains the base is to come out as it is.
    const bool hasOffsets = numbers.curve == GainCurve::Stops && weight != 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        const GainMapChannel& channel = numbers.channels[k];
        gains_[k].resize(steps + 2);
        for (std::size_t i = 0; i < gains_[k].size(); ++i) {
            const double sample = std::min(static_cast<double>(i) / steps, 1.0);
            const double gain = numbers.curve == GainCurve::Stops
                                    ? std::exp2(weight * StopsOf(channel, sample))
                                    : ProportionalGain(numbers, headroom, sample);
            gains_[k][i] = static_cast<float>(gain);
        }
        baseOffsets_[k] = hasOffsets ? static_cast<float>(channel.baseOffset) : 0.0f;
        alternateOffsets_[k] = hasOffsets ? static_cast<float>(channel.alternateOffset) : 0.0f;
    }
}

GainMapper::Rows GainMapper::RowsFor(std::int64_t row) const
{
    const auto [upper, fraction] = PlaceAmong(row, picture_.height, map_.height);
    return {upper, std::min(upper + 1, map_.height - 1), fraction};
}

float GainMapper::GainAt(int channel, float sample) const
{
    const std::vector<float>& gains = gains_[static_cast<std::size_t>(channel)];
    const float place = sample * static_cast<float>(gains.size() - 2);
    const auto before = static_cast<std::size_t>(place);
    const float fraction = place - static_cast<float>(before);
    return gains[before] + (gains[before + 1] - gains[before]) * fraction;
}

void GainMapper::Apply(const Rows& rows, const float* upper, const float* lower, float* rgb) const
{
    float* pixel = rgb;
    for (const Place& place : columns_) {
        float sample = 0.0f;
        float gain = 1.0f;
        for (int k = 0; k < 3; ++k) {
            if (k < channels_) {
                const float* left = upper + place.left + k;
                const float* right = upper + place.right + k;
                const float top = *left + (*right - *left) * place.fraction;
                left = lower + place.left + k;
                right = lower + place.right + k;
                const float bottom = *left + (*right - *left) * place.fraction;
                sample = top + (bottom - top) * rows.fraction;
            }
            if (k == 0 || !isGrey_) {
                gain = GainAt(k, sample);
            }
            const float light = (pixel[k] + baseOffsets_[static_cast<std::size_t>(k)]) * gain -
                                alternateOffsets_[static_cast<std::size_t>(k)];
            pixel[k] = pixel[k] < 0.0f ? light : std::max(light, 0.0f);
        }
        pixel += 3;
    }
}

} // namespace qva
