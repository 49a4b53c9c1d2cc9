#include "formats/raw_marks.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace qva {

namespace {

using namespace std::string_view_literals;

// Tags and values of TIFF/EP (ISO 12234-2) and of Digital Negative 1.4.
constexpr unsigned newSubfileType = 254;
constexpr unsigned photometricInterpretation = 262;
constexpr unsigned make = 271;
constexpr unsigned subDirectories = 330;
constexpr unsigned dngVersion = 50706;
constexpr std::uint32_t colourFilterArray = 32803;
constexpr std::uint32_t linearRaw = 34892;

/// The first directory of a classic TIFF structure, as far as the bytes go.
class FirstDirectory {
public:
    explicit FirstDirectory(std::string_view bytes)
        : bytes_(bytes),
          isLittle_(bytes.starts_with("II"sv)),
          start_(Number(4, 4).value_or(0)),
          count_(start_ >= 8 ? Number(start_, 2).value_or(0) : 0)
    {
    }

    /// @return the number that stands in the entry of a tag, its first where it holds several
    ///         short ones; nothing where there is no such tag.
    std::optional<std::uint32_t> Find(unsigned tag) const
    {
        constexpr std::uint32_t shortNumber = 3;
        for (std::size_t i = 0; i < count_; ++i) {
            const std::size_t entry = start_ + 2 + i * 12;
            const std::optional<std::uint32_t> found = Number(entry, 2);
            if (!found) {
                return std::nullopt;
            }
            if (*found == tag) {
                return Number(entry + 8, Number(entry + 2, 2) == shortNumber ? 2 : 4);
            }
        }
        return std::nullopt;
    }

private:
    std::optional<std::uint32_t> Number(std::size_t place, std::size_t count) const
    {
        if (place > bytes_.size() || bytes_.size() - place < count) {
            return std::nullopt;
        }
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const char byte = bytes_[place + (isLittle_ ? count - 1 - i : i)];
            number = number << 8 | static_cast<unsigned char>(byte);
        }
        return number;
    }

    std::string_view bytes_;
    bool isLittle_;
    std::size_t start_;
    std::size_t count_;
};

bool IsRawTiff(std::string_view head)
{
    if (!head.starts_with("II*\0"sv) && !head.starts_with("MM\0*"sv)) {
        return false;
    }
    if (head.size() >= 10 && head.substr(8, 2) == "CR"sv) {
        return true;
    }
    const FirstDirectory directory(head);
    if (directory.Find(dngVersion)) {
        return true;
    }
    const std::uint32_t photometric = directory.Find(photometricInterpretation).value_or(0);
    if (photometric == colourFilterArray || photometric == linearRaw) {
        return true;
    }
    const bool isSmallCopy = (directory.Find(newSubfileType).value_or(0) & 1) != 0;
    return isSmallCopy && directory.Find(make) && directory.Find(subDirectories);
}

} // namespace

bool IsRaw(std::string_view head)
{
    constexpr std::string_view beginnings[] = {
        "FUJIFILMCCD-RAW "sv,    "IIRO"sv, "IIRS"sv, "MMOR"sv, "IIU\0"sv, "FOVb"sv, "\0MRM"sv,
        "II\x1a\0\0\0HEAPCCDR"sv};
    for (const std::string_view beginning : beginnings) {
        if (head.starts_with(beginning)) {
            return true;
        }
    }
    const bool isBoxed = head.size() >= 12 && head.substr(4, 8) == "ftypcrx "sv;
    return isBoxed || IsRawTiff(head);
}

} // namespace qva
