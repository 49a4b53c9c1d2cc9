#include "dng_samples.h"

#include "samples.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qva::samples {

namespace {

// Types of TIFF 6.0.
constexpr unsigned typeByte = 1;
constexpr unsigned typeText = 2;
constexpr unsigned typeShort = 3;
constexpr unsigned typeLong = 4;
constexpr unsigned typeRational = 5;
constexpr unsigned typeSignedRational = 10;

/// A directory at the start of a file, its longer values behind it, one strip behind these.
class Directory {
public:
    explicit Directory(bool isBigEndian) : isBigEndian_(isBigEndian) {}

    /// In ascending order of tags.
    void Add(unsigned tag, unsigned type, const std::vector<std::int64_t>& values)
    {
        const bool isPair = type == typeRational || type == typeSignedRational;
        const std::size_t bytes = type == typeShort                      ? 2
                                  : type == typeByte || type == typeText ? 1
                                                                         : 4;
        std::string data;
        for (const std::int64_t value : values) {
            data += Number(value, bytes);
        }
        entries_.push_back({tag, type, values.size() / (isPair ? 2 : 1), data});
    }

    void AddRatios(unsigned tag, unsigned type, const std::vector<double>& values)
    {
        constexpr std::int64_t unit = 1000000;
        std::vector<std::int64_t> pairs;
        for (const double value : values) {
            pairs.push_back(std::llround(value * static_cast<double>(unit)));
            pairs.push_back(unit);
        }
        Add(tag, type, pairs);
    }

    void AddText(unsigned tag, const std::string& text)
    {
        std::vector<std::int64_t> letters(text.begin(), text.end());
        letters.push_back(0);
        Add(tag, typeText, letters);
    }

    /// The place of the strip, of which the entry 273 tells.
    std::string Bytes() const
    {
        std::string head = isBigEndian_ ? std::string("MM\0*", 4) : std::string("II*\0", 4);
        head += Number(8, 4) + Number(static_cast<std::int64_t>(entries_.size()), 2);
        const std::size_t behind = head.size() + entries_.size() * 12 + 4;
        std::size_t strip = behind;
        for (const Entry& entry : entries_) {
            strip += entry.data.size() > 4 ? entry.data.size() + entry.data.size() % 2 : 0;
        }
        std::string tail;
        for (const Entry& entry : entries_) {
            std::string data =
                entry.tag == 273 ? Number(static_cast<std::int64_t>(strip), 4) : entry.data;
            head += Number(entry.tag, 2) + Number(entry.type, 2) +
                    Number(static_cast<std::int64_t>(entry.count), 4);
            if (data.size() > 4) {
                head += Number(static_cast<std::int64_t>(behind + tail.size()), 4);
                tail += data + std::string(data.size() % 2, '\0');
            } else {
                head += data + std::string(4 - data.size(), '\0');
            }
        }
        return head + Number(0, 4) + tail;
    }

    std::string Number(std::int64_t value, std::size_t bytes) const
    {
        std::string out;
        for (std::size_t i = 0; i < bytes; ++i) {
            out.push_back(static_cast<char>(value >> 8 * (isBigEndian_ ? bytes - 1 - i : i)));
        }
        return out;
    }

private:
    struct Entry {
        unsigned tag;
        unsigned type;
        std::size_t count;
        std::string data;
    };

    bool isBigEndian_;
    std::vector<Entry> entries_;
};

std::vector<double> Flat(const Matrix3& matrix)
{
    std::vector<double> values;
    for (const auto& row : matrix) {
        values.insert(values.end(), row.begin(), row.end());
    }
    return values;
}

} // namespace

void WriteDng(const std::string& path, ImageSize size, const std::vector<double>& rgb,
              const DngKind& kind)
{
    const Matrix3 fromRgb = Multiply(kind.fromXyz, RgbToXyz(bt2020));
    const Vector3 white = Multiply(fromRgb, Vector3{1.0, 1.0, 1.0});
    const double largest = *std::max_element(white.begin(), white.end());
    Directory directory(kind.isBigEndian);
    directory.Add(254, typeLong, {0});
    directory.Add(256, typeLong, {size.width});
    directory.Add(257, typeLong, {size.height});
    directory.Add(258, typeShort, {16});
    directory.Add(259, typeShort, {1});
    directory.Add(262, typeShort, {32803});
    directory.AddText(271, "Sample");
    directory.AddText(272, "Mosaic");
    directory.Add(273, typeLong, {0});
    directory.Add(274, typeShort, {kind.orientation});
    directory.Add(277, typeShort, {1});
    directory.Add(278, typeLong, {size.height});
    directory.Add(279, typeLong, {size.width * size.height * 2});
    directory.Add(33421, typeShort, {2, 2});
    directory.Add(33422, typeByte, {0, 1, 1, 2});
    directory.Add(50706, typeByte, {1, 4, 0, 0});
    directory.Add(50707, typeByte, {1, 1, 0, 0});
    directory.AddText(50708, "Sample Mosaic");
    directory.Add(50714, typeShort, {0});
    directory.Add(50717, typeLong, {65535});
    directory.AddRatios(50721, typeSignedRational, Flat(kind.fromXyz));
    directory.AddRatios(50728, typeRational,
                        {white[0] / largest, white[1] / largest, white[2] / largest});
    directory.Add(50778, typeShort, {21}); // D65
    std::string bytes = directory.Bytes();
    for (std::int64_t y = 0; y < size.height; ++y) {
        for (std::int64_t x = 0; x < size.width; ++x) {
            const auto place = static_cast<std::size_t>(y * size.width + x) * 3;
            const Vector3 camera =
                Multiply(fromRgb, Vector3{rgb[place], rgb[place + 1], rgb[place + 2]});
            const auto channel = static_cast<std::size_t>(y % 2 + x % 2);
            const double code = camera[channel] / largest * 65535.0 * 2.0 / 3.0;
            bytes += directory.Number(std::llround(std::clamp(code, 0.0, 65535.0)), 2);
        }
    }
    WriteBytes(path, bytes);
}

} // namespace qva::samples
