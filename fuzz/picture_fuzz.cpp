// Any bytes as a picture file: it is read from start to end, or refused with a message. The first
// bytes decide the format, as they do for the program, and a share of a page is read as one.
#include "base/errors.h"
#include "colour/colour_interpretation.h"
#include "colour/scene_decoder.h"
#include "formats/strip_reader.h"
#include "page/page_job.h"
#include "picture/print_metadata.h"

#include "formats/image_source.h"

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::uint64_t maxPixels = 1 << 18;

/// Bytes that have a name.
class NamedBytes {
public:
    NamedBytes(const uint8_t* data, size_t size) : descriptor_(memfd_create("picture", 0))
    {
        if (descriptor_ < 0 || write(descriptor_, data, size) != static_cast<ssize_t>(size)) {
            std::abort();
        }
    }
    ~NamedBytes() { close(descriptor_); }
    NamedBytes(const NamedBytes&) = delete;
    NamedBytes& operator=(const NamedBytes&) = delete;
    std::string Name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

void ReadPicture(const std::string& name)
{
    const auto source = qva::OpenImage(name, {maxPixels});
    const qva::Interpretation meaning = qva::Interpret(source->Describe(), {});
    // The table of integer codes takes long to build and does not depend on the pixels.
    std::optional<qva::SceneDecoder> decoder;
    if (!meaning.isInteger || meaning.transfer == qva::Transfer::Profile) {
        decoder.emplace(meaning, name);
    }
    qva::MetadataForPrint(source->Describe());
    qva::MetadataFindings(source->Describe());
    const qva::ImageSize size = source->Size();
    std::vector<float> rgb(static_cast<size_t>(size.width * 3));
    qva::SampleCounts counts;
    for (std::int64_t row = 0; row < size.height; ++row) {
        // Every seventh row is passed over, as a page of which a share is rendered passes them.
        if (row % 7 == 6) {
            source->SkipRows(1);
            continue;
        }
        source->ReadRows(1, rgb.data());
        if (decoder) {
            decoder->Decode(rgb.data(), static_cast<size_t>(size.width), counts);
        }
    }
}

void ReadShare(const std::string& name)
{
    qva::StripReader share(name);
    const qva::StripLayout& layout = share.Page().layout;
    if (static_cast<std::uint64_t>(layout.lineLength * layout.lines) > maxPixels) {
        return;
    }
    for (std::int64_t strip = 0; strip < layout.Strips(); ++strip) {
        std::vector<std::uint16_t> codes(layout.SizeOf(strip) / 2);
        share.Encoded(strip);
        share.Decode(strip, codes.data());
    }
    qva::ParseShare(share.Page().description, name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const NamedBytes bytes(data, size);
    for (const auto read : {ReadPicture, ReadShare}) {
        try {
            read(bytes.Name());
        } catch (const qva::Error&) {
            // Refused, as it may be.
        } catch (const std::bad_alloc&) {
            // Too large for this machine.
        }
    }
    return 0;
}
