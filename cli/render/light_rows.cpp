#include "render/light_rows.h"

#include "base/phase_times.h"
#include "base/workers.h"

#include <algorithm>

namespace qva {

namespace {

/// Keeps what is there, and takes no more memory than asked for.
template <typename T>
void GrowTo(std::int64_t count, std::vector<T>& samples)
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
      encoder_(decoder, light, range),
      size_(source.Size()),
      has16Bits_(decoder.Takes(source.Samples())),
      scratch_(size_.width, Workers())
{
}

std::int64_t LightRows::FirstFor(std::int64_t row) const
{
    return std::max<std::int64_t>(row - encoder_.Reach(), 0);
}

void LightRows::Start(std::int64_t row)
{
    next_ = row;
    first_ = FirstFor(row);
    held_ = 0;
}

void LightRows::Read(std::int64_t count, std::uint16_t* codes)
{
    if (encoder_.Reach() > 0) {
        ReadAmongOthers(count, codes);
    } else {
        ReadAlone(count, codes);
    }
}

void LightRows::ReadAlone(std::int64_t count, std::uint16_t* codes)
{
    const std::int64_t samples = size_.width * 3;
    const auto width = static_cast<std::size_t>(size_.width);
    GrowTo(has16Bits_ ? 0 : count * samples, rows_);
    ReadStored(count, codes, rows_.data());
    ForEach(count, [&](std::int64_t row, int worker) {
        std::uint16_t* line = codes + row * samples;
        if (has16Bits_) {
            encoder_(line, scratch_.Light(worker), width, line);
        } else {
            encoder_(rows_.data() + row * samples, width, line);
        }
    });
    next_ += count;
    first_ = next_;
}

/// Reads the next rows as what the source delivers: samples of 16 bits, or else floats.
void LightRows::ReadStored(std::int64_t count, std::uint16_t* samples, float* rgb)
{
    const InPhase reading(Phase::Reading);
    if (has16Bits_) {
        source_.ReadSamples(count, samples);
    } else {
        source_.ReadRows(count, rgb);
    }
}

void LightRows::ReadAmongOthers(std::int64_t count, std::uint16_t* codes)
{
    Hold(std::min(next_ + count + encoder_.Reach(), size_.height));
    const RowBlock around = {rows_.data(), size_.width, held_};
    ForEach(count, [&](std::int64_t row, int worker) {
        encoder_.Encode(around, next_ + row - first_, scratch_.Light(worker),
                        codes + row * size_.width * 3);
    });
    next_ += count;
    Drop(FirstFor(next_));
}

/// Reads and decodes the rows before `end` that are not held yet.
void LightRows::Hold(std::int64_t end)
{
    const std::int64_t samples = size_.width * 3;
    const auto width = static_cast<std::size_t>(size_.width);
    const std::int64_t count = end - SourceRow();
    if (count <= 0) {
        return;
    }
    GrowTo((held_ + count) * samples, rows_);
    float* light = rows_.data() + held_ * samples;
    GrowTo(has16Bits_ ? count * samples : 0, samples_);
    ReadStored(count, samples_.data(), light);
    held_ += count;
    ForEach(count, [&](std::int64_t row, int) {
        if (has16Bits_) {
            encoder_.Decode(samples_.data() + row * samples, light + row * samples, width);
        } else {
            encoder_.Decode(light + row * samples, width);
        }
    });
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

} // namespace qva
