#include "formats/write_page.h"

#include "base/phase_times.h"
#include "formats/image_source.h"
#include "formats/writer_table.h"

#include <algorithm>

namespace qva {

void WritePage(const OutputFile& file, const Page& page, const WriteSettings& settings,
               Progress& progress)
{
    const InPhase writing(Phase::Writing);
    const auto writer = OutputFormatOf(file.Path()).make(file, page.size, settings);
    const std::int64_t rows = std::max(writer->RowsAtOnce(), RowsPerBlock(page.size));
    for (std::int64_t first = 0; first < page.size.height; first += rows) {
        const std::int64_t count = std::min(rows, page.size.height - first);
        writer->Write(page.codes.get() + first * page.size.width * 3, count);
        progress.Show("writing",
                      static_cast<double>(first + count) / static_cast<double>(page.size.height));
    }
    writer->Finish();
}

} // namespace qva
