#include "page/page_assembly.h"

#include "base/descriptor.h"
#include "formats/image_source.h"
#include "formats/strip_writer.h"
#include "formats/writer_table.h"
#include "page/page_job.h"
#include "page/turned_lines.h"

#include <algorithm>

namespace qva {

namespace {

double ShareOf(std::int64_t done, std::int64_t all)
{
    return static_cast<double>(done) / static_cast<double>(all);
}

void CopyStrips(std::vector<StripReader>& shares, const BandPlan& plan,
                const WriteSettings& settings, const OutputFile& file, Progress& progress)
{
    const TiffPage page = StripsOf(plan, {0, plan.Lines()}, settings);
    const Descriptor descriptor = file.Duplicate();
    StripWriter writer(descriptor.Get(), file.Path(), page);
    std::int64_t done = 0;
    for (StripReader& share : shares) {
        for (std::int64_t strip = 0; strip < share.Page().layout.Strips(); ++strip) {
            writer.Append(share.Encoded(strip));
            progress.Show("joining", ShareOf(++done, page.layout.Strips()));
        }
    }
    writer.Finish();
}

/// Calls body(first, count, codes) for the lines of all shares, strip after strip.
template <typename Body>
void ForEachStrip(std::vector<StripReader>& shares, const Body& body)
{
    std::vector<std::uint16_t> codes;
    std::int64_t line = 0;
    for (StripReader& share : shares) {
        const StripLayout& layout = share.Page().layout;
        for (std::int64_t strip = 0; strip < layout.Strips(); ++strip) {
            codes.resize(layout.SizeOf(strip) / 2);
            share.Decode(strip, codes.data());
            body(line, layout.LinesIn(strip), codes);
            line += layout.LinesIn(strip);
        }
    }
}

void CopyRows(std::vector<StripReader>& shares, const BandPlan& plan, RowWriter& writer,
              Progress& progress)
{
    ForEachStrip(shares, [&](std::int64_t first, std::int64_t count,
                             const std::vector<std::uint16_t>& codes) {
        writer.Write(codes.data(), count);
        progress.Show("writing", ShareOf(first + count, plan.Lines()));
    });
}

void TurnColumns(std::vector<StripReader>& shares, const BandPlan& plan, RowWriter& writer,
                 const std::string& folder, Progress& progress)
{
    const std::int64_t width = plan.page.width;
    const std::int64_t height = plan.page.height;
    TurnedLines rows(height, width, folder);
    // Enough columns at once that every piece written is a good part of a disk block.
    constexpr std::int64_t columnsAtOnce = 128;
    std::vector<std::uint16_t> columns;
    std::int64_t first = 0;
    ForEachStrip(shares, [&](std::int64_t line, std::int64_t count,
                             const std::vector<std::uint16_t>& codes) {
        columns.insert(columns.end(), codes.begin(), codes.end());
        const std::int64_t end = line + count;
        if (end - first >= columnsAtOnce || end == width) {
            rows.WriteAcross(first, end - first, columns.data());
            columns.clear();
            first = end;
        }
        progress.Show("turning", ShareOf(end, width));
    });
    const std::int64_t block = RowsPerBlock(plan.page);
    std::vector<std::uint16_t> codes(static_cast<std::size_t>(block * width * 3));
    for (std::int64_t row = 0; row < height; row += block) {
        const std::int64_t count = std::min(block, height - row);
        rows.Read(row, count, codes.data());
        writer.Write(codes.data(), count);
        progress.Show("writing", ShareOf(row + count, height));
    }
}

} // namespace

bool StripsAreResult(const BandPlan& plan, const WriteSettings& settings, const std::string& output)
{
    return !settings.device && plan.direction == Direction::Rows && OutputFormatOf(output).isStrips;
}

void Assemble(std::vector<StripReader>& shares, const BandPlan& plan, const WriteSettings& settings,
              const OutputFile& file, Progress& progress)
{
    if (StripsAreResult(plan, settings, file.Path())) {
        CopyStrips(shares, plan, settings, file, progress);
        return;
    }
    const auto writer = OutputFormatOf(file.Path()).make(file, plan.page, settings);
    if (plan.direction == Direction::Rows) {
        CopyRows(shares, plan, *writer, progress);
    } else {
        TurnColumns(shares, plan, *writer, FolderOf(file.Path()), progress);
    }
    writer->Finish();
}

} // namespace qva
