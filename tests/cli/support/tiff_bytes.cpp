#include "tiff_bytes.h"

namespace qva::samples {

std::string Number(std::uint64_t number, int count, bool isLittle)
{
    std::string bytes;
    for (int i = 0; i < count; ++i) {
        bytes.push_back(static_cast<char>(number >> 8 * (isLittle ? i : count - 1 - i)));
    }
    return bytes;
}

std::string Directory(const std::vector<Entry>& entries, bool isLittle)
{
    std::string bytes = Number(entries.size(), 2, isLittle);
    for (const Entry& entry : entries) {
        bytes += Number(entry.tag, 2, isLittle) + Number(entry.type, 2, isLittle) +
                 Number(entry.count, 4, isLittle) + entry.value;
    }
    return bytes + Number(0, 4, isLittle);
}

std::string Header(bool isLittle)
{
    return (isLittle ? "II" : "MM") + Number(42, 2, isLittle) + Number(8, 4, isLittle);
}

Bytes AsBytes(const std::string& text)
{
    return {text.begin(), text.end()};
}

} // namespace qva::samples
