#include "render/light_rows.h"

#include <algorithm>
#include <omp.h>

namespace qva {

namespace {

std::uint16_t LinearCode(float light, float scale)
{
    // Written so that a not-a-number would become 0.
    const float code = light * scale;
    return code > 0.0f ? static_cast<std::uint16_t>(std::min(code, 65535.0f) + 0.5f)
                       : std::uint16_t{0};
}

/// Keeps what is there, and takes no more memory than asked for.
void GrowTo(std::int64_t count, std::vector<float>& samples)
{
    if (static_cast<std::size_t>(count) > samples.size()) {
        samples.reserve(static_cast<std::size_t>(count));
        samples.resize(static_cast<std::size_t>(count));
    }
}

} // namespace

LightRows::LightRows(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
                     const RenderRange& range)
    : source_(source),
      decoder_(decoder),
      light_(light),
      range_(range),
      size_(source.Size()),
      reach_(range.passThrough ? 0 : light.Reach())
{
}

std::int64_t LightRows::FirstFor(std::int64_t row) const
{
    return std::max<std::int64_t>(row - reach_, 0);
}

void LightRows::Start(std::int64_t row)
{
    next_ = row;
    first_ = FirstFor(row);
    held_ = 0;
}

void LightRows::Read(std::int64_t count, std::uint16_t* codes)
{
    Hold(std::min(next_ + count + reach_, size_.height));
    const std::int64_t samples = size_.width * 3;
    if (reach_ > 0) {
        // One a thread, made before the loop: a request for memory that fails in a parallel loop
        // would end the program.
        GrowTo(samples * omp_get_max_threads(), single_);
    }
    const RowBlock around = {rows_.data(), size_.width, held_};
#pragma omp parallel for schedule(static)
    for (std::int64_t row = 0; row < count; ++row) {
        const std::int64_t place = next_ + row - first_;
        float* rgb = rows_.data() + place * samples;
        if (reach_ > 0) {
            float* repaired = single_.data() + omp_get_thread_num() * samples;
            std::copy_n(rgb, samples, repaired);
            light_.Repair(around, place, repaired);
            rgb = repaired;
        }
        Encode(rgb, codes + row * samples);
    }
    next_ += count;
    Drop(FirstFor(next_));
}

/// Reads and decodes the rows before `end` that are not held yet.
void LightRows::Hold(std::int64_t end)
{
    const std::int64_t samples = size_.width * 3;
    const std::int64_t count = end - SourceRow();
    if (count <= 0) {
        return;
    }
    GrowTo((held_ + count) * samples, rows_);
    float* rgb = rows_.data() + held_ * samples;
    source_.ReadRows(count, rgb);
    held_ += count;
    if (range_.passThrough) {
        return;
    }
#pragma omp parallel for schedule(static)
    for (std::int64_t row = 0; row < count; ++row) {
        SampleCounts counts;
        decoder_.Decode(rgb + row * samples, static_cast<std::size_t>(size_.width), counts);
    }
}

/// Forgets the rows before `first`.
void LightRows::Drop(std::int64_t first)
{
    const std::int64_t samples = size_.width * 3;
    const std::int64_t count = first - first_;
    std::copy(rows_.data() + count * samples, rows_.data() + held_ * samples, rows_.data());
    first_ = first;
    held_ -= count;
}

void LightRows::Encode(float* rgb, std::uint16_t* codes) const
{
    const std::int64_t samples = size_.width * 3;
    if (range_.passThrough) {
        std::transform(rgb, rgb + samples, codes,
                       [](float sample) { return static_cast<std::uint16_t>(sample); });
        return;
    }
    light_(rgb, static_cast<std::size_t>(size_.width));
    const auto scale = static_cast<float>(65535.0 / range_.top);
    std::transform(rgb, rgb + samples, codes,
                   [scale](float sample) { return LinearCode(sample, scale); });
}

} // namespace qva
