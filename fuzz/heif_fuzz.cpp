// Any bytes as a file of boxes: items, properties and headers of bit streams are read or refused
// with a message. Nothing is decoded, so that many more inputs are tried than of whole pictures.
#include "base/errors.h"
#include "formats/heif_colour.h"
#include "formats/heif_view.h"

#include <cstdint>

namespace {

template <typename Read>
void ReadHeader(const Read& read)
{
    try {
        read();
    } catch (const qva::Error&) {
    } catch (const std::out_of_range&) {
        // Of another codec, or damaged.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        const qva::HeifItems items("name", {data, size});
        for (const auto& entry : items.All()) {
            const auto& item = entry.second;
            const std::vector<qva::HeifProperty> properties = items.PropertiesOf(item);
            qva::ViewOf(properties, {640, 480});
            qva::ColourOf(properties, {});
            qva::LightFindings(properties);
            qva::MetadataOf(items, item);
            items.HasPicturesBeside(entry.first);
            ReadHeader([&] { qva::ReadAv1Header(items.DataOf(item)); });
            ReadHeader([&] {
                qva::ReadHevcHeader(items.PropertyOf(item, qva::FourLetters("hvcC")),
                                    items.DataOf(item));
            });
        }
    } catch (const qva::Error&) {
        // Refused, as it may be.
    }
    return 0;
}
