#include "formats/image_writer.h"

#include "base/errors.h"
#include "formats/image_source.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace qva {

OutputFormat FormatOfName(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& letter : extension) {
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    }
    if (extension == ".tif" || extension == ".tiff") {
        return OutputFormat::Tiff;
    }
    if (extension == ".png") {
        return OutputFormat::Png;
    }
    throw Misuse(path, "the name must end in .tif, .tiff or .png");
}

std::unique_ptr<RowWriter> MakeRowWriter(const OutputFile& file, ImageSize size,
                                         const WriteSettings& settings)
{
    return settings.format == OutputFormat::Tiff ? MakeTiffWriter(file, size, settings)
                                                 : MakePngWriter(file, size, settings);
}

void WritePage(const OutputFile& file, const Page& page, const WriteSettings& settings,
               Progress& progress)
{
    const auto writer = MakeRowWriter(file, page.size, settings);
    const std::int64_t rows = RowsPerBlock(page.size);
    for (std::int64_t first = 0; first < page.size.height; first += rows) {
        const std::int64_t count = std::min(rows, page.size.height - first);
        writer->Write(page.codes.get() + first * page.size.width * 3, count);
        progress.Show("writing",
                      static_cast<double>(first + count) / static_cast<double>(page.size.height));
    }
    writer->Finish();
}

} // namespace qva
