#include "hostile_reading.h"

#include "colour/scene_decoder.h"
#include "formats/image_source.h"
#include "picture/print_metadata.h"

#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

namespace qva::samples {

std::string Content(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Read(const std::string& path, std::uint64_t maxPixels)
{
    const auto source = OpenImage(path, {maxPixels});
    const Interpretation meaning = Interpret(source->Describe(), {});
    std::optional<SceneDecoder> decoder;
    if (!meaning.isInteger || meaning.transfer == Transfer::Profile) {
        decoder.emplace(meaning, path);
    }
    MetadataForPrint(source->Describe());
    MetadataFindings(source->Describe());
    const ImageSize size = source->Size();
    std::vector<float> row(static_cast<std::size_t>(size.width * 3));
    SampleCounts counts;
    for (std::int64_t y = 0; y < size.height; ++y) {
        source->ReadRows(1, row.data());
        if (decoder) {
            decoder->Decode(row.data(), static_cast<std::size_t>(size.width), counts);
        }
    }
}

} // namespace qva::samples
