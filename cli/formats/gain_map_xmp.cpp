#include "formats/gain_map_xmp.h"

#include "picture/exif_data.h"
#include "picture/xml_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <string_view>

namespace qva {

namespace {

constexpr std::string_view syntaxSpace = "http://www.w3.org/1999/02/22-rdf-syntax-ns# ";
constexpr std::string_view gainMapSpace = "http://ns.adobe.com/hdr-gain-map/1.0/ ";
constexpr std::string_view containerSpace = "http://ns.google.com/photos/1.0/container/ ";
constexpr std::string_view itemSpace = "http://ns.google.com/photos/1.0/container/item/ ";
constexpr std::string_view appleType = "http://ns.apple.com/pixeldatainfo/1.0/ AuxiliaryImageType";
constexpr std::string_view appleHeadroom = "http://ns.apple.com/HDRGainMap/1.0/ HDRGainMapHeadroom";

std::string Trimmed(const std::string& text)
{
    constexpr const char* blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

template <typename T>
std::optional<T> NumberIn(const std::string& text)
{
    T number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// A property is an attribute, an element with text, or one with a list of texts.
class PacketReader : public XmlReader {
public:
    explicit PacketReader(GainMapXmp& xmp) : XmlReader(XmlNames::Plain), xmp_(xmp) {}

private:
    void Start(std::string_view name, const char** attributes) override
    {
        names_.emplace_back(name);
        text_.clear();
        if (name.starts_with(containerSpace) && name.ends_with(" Item")) {
            xmp_.items.emplace_back();
        }
        for (; *attributes != nullptr; attributes += 2) {
            Take(attributes[0], attributes[1]);
        }
    }

    void Characters(std::string_view text) override { text_ += text; }

    void End() override
    {
        // The text of a list's member is the list's owner's.
        auto owner = names_.rbegin();
        while (owner != names_.rend() && owner->starts_with(syntaxSpace)) {
            ++owner;
        }
        const std::string text = Trimmed(text_);
        if (owner != names_.rend() && !text.empty()) {
            Take(*owner, text);
        }
        names_.pop_back();
        text_.clear();
    }

    void Take(std::string_view name, const std::string& value)
    {
        const std::string_view local = name.substr(name.find(separator) + 1);
        if (name.starts_with(gainMapSpace)) {
            xmp_.properties[std::string(local)].push_back(Trimmed(value));
        } else if (name.starts_with(itemSpace) && !xmp_.items.empty()) {
            if (local == "Semantic") {
                xmp_.items.back().semantic = value;
            } else if (local == "Length") {
                xmp_.items.back().bytes = NumberIn<std::uint64_t>(value).value_or(0);
            }
        } else if (name == appleType) {
            xmp_.isAppleMap = value == "urn:com:apple:photo:2020:aux:hdrgainmap";
        } else if (name == appleHeadroom) {
            xmp_.appleHeadroom = NumberIn<double>(value);
        }
    }

    GainMapXmp& xmp_;
    std::vector<std::string> names_;
    std::string text_;
};

/// @param otherwise  where the property is missing; nothing where it must be there.
std::array<double, 3> Numbers(const GainMapXmp& xmp, const std::string& name,
                              std::optional<double> otherwise)
{
    const auto found = xmp.properties.find(name);
    if (found == xmp.properties.end()) {
        if (!otherwise) {
            throw GainMapProblem("lacks " + name);
        }
        return {*otherwise, *otherwise, *otherwise};
    }
    const std::vector<std::string>& values = found->second;
    std::array<double, 3> numbers{};
    for (std::size_t k = 0; k < 3; ++k) {
        const std::optional<double> number = NumberIn<double>(values[values.size() == 3 ? k : 0]);
        if (!number || (values.size() != 1 && values.size() != 3)) {
            throw GainMapProblem("has no number in " + name);
        }
        numbers[k] = *number;
    }
    return numbers;
}

} // namespace

GainMapXmp ReadGainMapXmp(std::span<const unsigned char> packet)
{
    GainMapXmp xmp;
    // What is read before an error counts.
    PacketReader(xmp).Parse({reinterpret_cast<const char*>(packet.data()), packet.size()});
    return xmp;
}

GainMapNumbers NumbersOf(const GainMapXmp& xmp)
{
    const auto version = xmp.properties.find("Version");
    if (version == xmp.properties.end() || version->second[0] != "1.0") {
        throw GainMapProblem(fmt::format("is of the unknown version {}",
                                         version == xmp.properties.end() ? std::string("\"\"")
                                                                         : version->second[0]));
    }
    const auto base = xmp.properties.find("BaseRenditionIsHDR");
    const bool isBright = base != xmp.properties.end() && base->second[0] == "True";
    // The defaults are those of the properties' publisher, "Gain Map 1.0".
    const auto min = Numbers(xmp, "GainMapMin", 0.0);
    const auto max = Numbers(xmp, "GainMapMax", std::nullopt);
    const auto gamma = Numbers(xmp, "Gamma", 1.0);
    const auto dark = Numbers(xmp, "OffsetSDR", 1.0 / 64.0);
    const auto bright = Numbers(xmp, "OffsetHDR", 1.0 / 64.0);
    GainMapNumbers numbers;
    for (std::size_t k = 0; k < 3; ++k) {
        numbers.channels[k] = {min[k], max[k], gamma[k], isBright ? bright[k] : dark[k],
                               isBright ? dark[k] : bright[k]};
    }
    const double least = Numbers(xmp, "HDRCapacityMin", 0.0)[0];
    const double most = Numbers(xmp, "HDRCapacityMax", std::nullopt)[0];
    numbers.baseHeadroom = isBright ? most : least;
    numbers.alternateHeadroom = isBright ? least : most;
    CheckGainMap(numbers);
    return numbers;
}

GainMapNumbers AppleNumbers(const GainMapXmp& xmp, std::span<const unsigned char> exif)
{
    GainMapNumbers numbers;
    numbers.curve = GainCurve::Proportional;
    if (xmp.appleHeadroom) {
        numbers.alternateHeadroom = std::log2(std::max(*xmp.appleHeadroom, 1.0));
    } else if (const std::optional<double> stops = AppleHeadroom(exif)) {
        numbers.alternateHeadroom = *stops;
    } else {
        throw GainMapProblem("does not tell its headroom");
    }
    CheckGainMap(numbers);
    return numbers;
}

} // namespace qva
