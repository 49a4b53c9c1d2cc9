#include "formats/writer_table.h"

#include "base/errors.h"
#include "formats/pdf_page.h"

#include <algorithm>
#include <vector>

namespace qva {

namespace {

constexpr OutputFormat outputFormats[] = {
    {"TIFF", {".tif", ".tiff"}, MakeTiffWriter, true, true, true, true},
    {"PNG", {".png", {}}, MakePngWriter, false, false, true, false},
    {"PDF", {".pdf", {}}, MakePdfWriter, false, false, false, true},
};

} // namespace

const OutputFormat& OutputFormatOf(const std::string& path)
{
    for (const OutputFormat& format : outputFormats) {
        for (const std::string_view ending : format.endings) {
            if (!ending.empty() && HasEnding(path, ending)) {
                return format;
            }
        }
    }
    throw Misuse(path, "the name must end in " + OutputEndings());
}

std::string OutputEndings()
{
    std::vector<std::string_view> endings;
    for (const OutputFormat& format : outputFormats) {
        if (!format.hasCodes) {
            continue;
        }
        std::copy_if(std::begin(format.endings), std::end(format.endings),
                     std::back_inserter(endings), [](std::string_view e) { return !e.empty(); });
    }
    std::string text(endings.front());
    for (std::size_t i = 1; i < endings.size(); ++i) {
        text += i + 1 == endings.size() ? " or " : ", ";
        text += endings[i];
    }
    return text;
}

void EnsureTakes(const std::string& output, const DeviceOutput& device)
{
    if (OutputFormatOf(output).make == MakePdfWriter && !HasPdfSpace(device)) {
        throw Failure(output, "a PDF knows RGB, CMYK and grey, not the inks of the profile: "
                              "device values go into TIFF");
    }
}

bool HasEnding(std::string_view path, std::string_view ending)
{
    const auto lower = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    };
    return path.size() >= ending.size() &&
           std::equal(ending.begin(), ending.end(), path.end() - ending.size(),
                      [&lower](char wanted, char found) { return wanted == lower(found); });
}

} // namespace qva
