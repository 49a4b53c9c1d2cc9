#include "picture/iptc_copy.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace qva {

namespace {

constexpr std::array<unsigned char, 4> signature = {'8', 'B', 'I', 'M'};
constexpr unsigned datasetsNumber = 0x0404;

std::size_t NumberAt(std::span<const unsigned char> bytes, std::size_t place, std::size_t count)
{
    std::size_t number = 0;
    for (std::size_t i = 0; i < count; ++i) {
        number = number << 8 | bytes[place + i];
    }
    return number;
}

/// IIM 4.2, chapters 5 to 12: records 3 and above describe the pixels or hold some. Of the second,
/// 130 and 131 are type and orientation of the picture, 200 to 202 its preview.
bool IsKept(unsigned record, unsigned dataset)
{
    return record == 1 ||
           (record == 2 && dataset != 130 && dataset != 131 && (dataset < 200 || dataset > 202));
}

} // namespace

std::vector<unsigned char> IptcOfResources(std::span<const unsigned char> resources)
{
    std::size_t place = 0;
    while (place + 12 <= resources.size() &&
           std::equal(signature.begin(), signature.end(), resources.begin() + place))
    {
        const std::size_t number = NumberAt(resources, place + 4, 2);
        // Name and bytes are rounded up to even lengths.
        place += 6 + ((resources[place + 6] + std::size_t{2}) & ~std::size_t{1});
        if (place + 4 > resources.size()) {
            break;
        }
        const std::size_t size = NumberAt(resources, place, 4);
        place += 4;
        if (size > resources.size() - place) {
            break;
        }
        if (number == datasetsNumber) {
            const auto found = resources.subspan(place, size);
            return {found.begin(), found.end()};
        }
        place += (size + 1) & ~std::size_t{1};
    }
    return {};
}

std::vector<unsigned char> ResourcesOfIptc(std::span<const unsigned char> iptc)
{
    const auto byteOf = [&iptc](int shift) {
        return static_cast<unsigned char>(iptc.size() >> shift);
    };
    std::vector<unsigned char> bytes = {
        '8', 'B', 'I',        'M',        datasetsNumber >> 8, datasetsNumber & 255,
        0,   0,   byteOf(24), byteOf(16), byteOf(8),           byteOf(0)};
    for (const unsigned char byte : iptc) {
        bytes.push_back(byte);
    }
    bytes.resize((bytes.size() + 1) & ~std::size_t{1});
    return bytes;
}

IptcCopy CopyIptc(std::span<const unsigned char> iptc)
{
    constexpr unsigned char marker = 0x1c;
    constexpr std::size_t headerBytes = 5;
    IptcCopy copy;
    bool isEditorial = false;
    for (std::size_t place = 0; place + headerBytes <= iptc.size() && iptc[place] == marker;) {
        std::size_t size = NumberAt(iptc, place + 3, 2);
        std::size_t begin = place + headerBytes;
        // Longer ones state how many bytes their length has.
        if (size >= 0x8000) {
            const std::size_t count = size & 0x7fff;
            if (count > 4 || count > iptc.size() - begin) {
                break;
            }
            size = NumberAt(iptc, begin, count);
            begin += count;
        }
        if (size > iptc.size() - begin) {
            break;
        }
        const auto dataset = iptc.subspan(place, begin + size - place);
        if (IsKept(dataset[1], dataset[2])) {
            copy.datasets.insert(copy.datasets.end(), dataset.begin(), dataset.end());
            ++copy.kept;
            isEditorial = isEditorial || dataset[1] == 2;
        } else {
            ++copy.leftOut;
        }
        place = begin + size;
    }
    // An envelope alone tells nothing.
    return isEditorial ? copy : IptcCopy{{}, 0, copy.kept + copy.leftOut};
}

} // namespace qva
