#include "image_writer.h"

#include "errors.h"
#include "icc_builder.h"

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

void WritePage(const OutputFile& file, const Page& page, const WriteSettings& settings,
               Progress& progress)
{
    const std::vector<unsigned char> profile = RenderedProfile();
    if (settings.format == OutputFormat::Tiff) {
        WriteTiff(file, page, settings, profile, progress);
    } else {
        WritePng(file, page, settings, profile, progress);
    }
}

} // namespace qva
