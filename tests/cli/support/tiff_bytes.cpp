#include "tiff_bytes.h"

#include <zlib.h>

namespace qva::samples {

std::string Number(std::uint64_t number, int count, bool isLittle)
{
    std::string bytes;
    for (int i = 0; i < count; ++i) {
        bytes.push_back(static_cast<char>(number >> 8 * (isLittle ? i : count - 1 - i)));
    }
    return bytes;
}

std::string Directory(const std::vector<Entry>& entries, bool isLittle, std::size_t place)
{
    std::string bytes = Number(entries.size(), 2, isLittle);
    const std::size_t behind = place + entries.size() * 12 + 6;
    std::string longer;
    for (const Entry& entry : entries) {
        bytes += Number(entry.tag, 2, isLittle) + Number(entry.type, 2, isLittle) +
                 Number(entry.count, 4, isLittle);
        if (entry.value.size() <= 4) {
            bytes += entry.value + std::string(4 - entry.value.size(), '\0');
        } else {
            bytes += Number(behind + longer.size(), 4, isLittle);
            longer += entry.value + std::string(entry.value.size() % 2, '\0');
        }
    }
    return bytes + Number(0, 4, isLittle) + longer;
}

std::string Header(bool isLittle)
{
    return (isLittle ? "II" : "MM") + Number(42, 2, isLittle) + Number(8, 4, isLittle);
}

std::string PngChunk(const std::string& name, const std::string& data)
{
    const std::string body = name + data;
    const uLong sum = crc32_z(0, reinterpret_cast<const Bytef*>(body.data()), body.size());
    return Number(data.size(), 4, false) + body + Number(sum, 4, false);
}

std::string PngDataOf(const std::string& png, const std::string& name)
{
    std::string data;
    for (std::size_t place = 8; place + 12 <= png.size();) {
        std::size_t length = 0;
        for (std::size_t i = place; i < place + 4; ++i) {
            length = length << 8 | static_cast<unsigned char>(png[i]);
        }
        data += png.compare(place + 4, 4, name) == 0 ? png.substr(place + 8, length) : "";
        place += length + 12;
    }
    return data;
}

Bytes AsBytes(const std::string& text)
{
    return {text.begin(), text.end()};
}

} // namespace qva::samples
