// Rendered pages as 16-bit TIFF.
#include "base/descriptor.h"
#include "colour/icc_builder.h"
#include "formats/strip_encoder.h"
#include "formats/strip_writer.h"
#include "formats/writer_table.h"

#include <algorithm>

namespace qva {

namespace {

/// Gathers rows until there are strips for every core.
class TiffWriter : public RowWriter {
public:
    TiffWriter(const OutputFile& file, ImageSize size, const WriteSettings& settings)
        : page_{{size.width, size.height, StripLines(size.width, size.height)},
                settings,
                RenderedProfile(),
                1,
                ""},
          descriptor_(file.Duplicate()),
          strips_(descriptor_.Get(), file.Path(), page_)
    {
    }

    void Write(const std::uint16_t* codes, std::int64_t count) override
    {
        const std::int64_t samples = page_.layout.lineLength * 3;
        waiting_.insert(waiting_.end(), codes, codes + count * samples);
        constexpr std::int64_t stripsAtOnce = 32;
        const auto lines = static_cast<std::int64_t>(waiting_.size()) / samples;
        if (lines >= stripsAtOnce * page_.layout.stripLines) {
            Flush(lines / page_.layout.stripLines);
        }
    }

    void Finish() override
    {
        Flush(page_.layout.Strips() - next_);
        strips_.Finish();
    }

private:
    void Flush(std::int64_t count)
    {
        for (const EncodedStrip& strip : EncodeStrips(page_, next_, count, waiting_.data())) {
            strips_.Append(strip);
        }
        next_ += count;
        const auto used = std::min<std::size_t>(
            static_cast<std::size_t>(count * page_.layout.stripLines * page_.layout.lineLength * 3),
            waiting_.size());
        waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(used));
    }

    TiffPage page_;
    Descriptor descriptor_;
    StripWriter strips_;
    std::vector<std::uint16_t> waiting_; ///< rows of strips that are not encoded yet
    std::int64_t next_ = 0;              ///< the first of these strips
};

} // namespace

std::unique_ptr<RowWriter> MakeTiffWriter(const OutputFile& file, ImageSize size,
                                          const WriteSettings& settings)
{
    if (settings.device) {
        return MakeDeviceTiffWriter(file, size, settings);
    }
    return std::make_unique<TiffWriter>(file, size, settings);
}

} // namespace qva
