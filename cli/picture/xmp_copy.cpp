#include "picture/xmp_copy.h"

#include "picture/xml_reader.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace qva {

namespace {

constexpr std::string_view syntaxSpace = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
constexpr std::string_view xmlSpace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view regionSpace = "http://www.metadataworkinggroup.com/schemas/regions/";

constexpr std::array<std::string_view, 11> spacesLeftOut = {
    "http://ns.adobe.com/hdr-gain-map/1.0/",
    "http://ns.google.com/photos/1.0/container/",
    "http://ns.google.com/photos/1.0/container/item/",
    "http://ns.google.com/photos/1.0/camera/",
    "http://ns.google.com/photos/1.0/depthmap/",
    "http://ns.google.com/photos/1.0/image/",
    "http://ns.google.com/photos/dd/1.0/device/",
    "http://ns.apple.com/HDRGainMap/1.0/",
    "http://ns.apple.com/pixeldatainfo/1.0/",
    "http://ns.adobe.com/camera-raw-settings/1.0/",
    "http://ns.adobe.com/xmp/note/",
};

constexpr std::string_view tiffSpace = "http://ns.adobe.com/tiff/1.0/";
constexpr std::array<std::string_view, 6> keptOfTiff = {"Make",   "Model",     "ImageDescription",
                                                        "Artist", "Copyright", "DateTime"};

constexpr std::string_view exifSpace = "http://ns.adobe.com/exif/1.0/";
constexpr std::array<std::pair<std::string_view, std::string_view>, 18> leftOut = {{
    {exifSpace, "PixelXDimension"},
    {exifSpace, "PixelYDimension"},
    {exifSpace, "ColorSpace"},
    {exifSpace, "ComponentsConfiguration"},
    {exifSpace, "CompressedBitsPerPixel"},
    {exifSpace, "SubjectArea"},
    {exifSpace, "SubjectLocation"},
    {exifSpace, "FocalPlaneXResolution"},
    {exifSpace, "FocalPlaneYResolution"},
    {exifSpace, "FocalPlaneResolutionUnit"},
    {exifSpace, "NativeDigest"},
    {exifSpace, "MakerNote"},
    {"http://ns.adobe.com/photoshop/1.0/", "ICCProfile"},
    {"http://ns.adobe.com/photoshop/1.0/", "ColorMode"},
    {"http://ns.adobe.com/xap/1.0/", "Thumbnails"},
    {"http://ns.adobe.com/xap/1.0/g/img/", "image"},
    {"http://purl.org/dc/elements/1.1/", "format"},
    {"http://purl.org/dc/elements/1.1/", "Format"}, // as some editors write it
}};

template <typename Container, typename Value>
bool Contains(const Container& all, const Value& value)
{
    return std::find(all.begin(), all.end(), value) != all.end();
}

struct Name {
    std::string_view space;
    std::string_view local;
    std::string_view prefix;
};

Name Split(std::string_view triplet)
{
    const std::size_t first = triplet.find(XmlReader::separator);
    if (first == std::string_view::npos) {
        return {{}, triplet, {}};
    }
    const std::size_t second = triplet.find(XmlReader::separator, first + 1);
    return {triplet.substr(0, first), triplet.substr(first + 1, second - first - 1),
            second == std::string_view::npos ? std::string_view() : triplet.substr(second + 1)};
}

bool IsBlank(char letter)
{
    return letter == ' ' || letter == '\t' || letter == '\r' || letter == '\n';
}

/// Follows the quotes of a tag, letter by letter.
class Quotes {
public:
    /// @return whether the letter stands outside of a value and begins or ends none.
    bool IsOutside(char letter)
    {
        if (quote_ != 0) {
            quote_ = letter == quote_ ? '\0' : quote_;
            return false;
        }
        quote_ = letter == '"' || letter == '\'' ? letter : '\0';
        return quote_ == 0;
    }

private:
    char quote_ = 0;
};

/// A run of bytes to be left out.
struct Cut {
    std::size_t begin;
    std::size_t end;
};

class PacketScanner : public XmlReader {
public:
    PacketScanner(std::string_view text, bool isTurned)
        : XmlReader(XmlNames::WithPrefix), text_(text), isTurned_(isTurned)
    {
    }

    /// @return whether the whole packet could be read.
    bool Scan() { return Parse(text_); }

    /// The packet without what is left out.
    std::vector<unsigned char> Rest();

    std::size_t Kept() const { return properties_; }
    std::size_t LeftOut() const { return cuts_.size(); }

private:
    bool IsLeftOut(const Name& name) const
    {
        return Contains(spacesLeftOut, name.space) ||
               (name.space == tiffSpace && !Contains(keptOfTiff, name.local)) ||
               Contains(leftOut, std::pair(name.space, name.local)) ||
               (isTurned_ && name.space == regionSpace);
    }

    /// Properties are the attributes and members of the descriptions in the outermost rdf:RDF.
    bool IsProperty(const Name& name, int depth) const
    {
        return rdfDepth_ > 0 && depth == rdfDepth_ + 2 && name.space != syntaxSpace &&
               name.space != xmlSpace;
    }

    void Start(std::string_view triplet, const char** attributes) override;
    void End() override;
    void CutAttribute(const Name& name);

    std::size_t TagPlace() const { return std::min(Place(), text_.size()); }

    /// The place behind the tag that begins at another.
    std::size_t TagEnd(std::size_t place) const
    {
        Quotes quotes;
        while (place < text_.size()) {
            const char letter = text_[place++];
            if (quotes.IsOutside(letter) && letter == '>') {
                break;
            }
        }
        return place;
    }

    std::string_view text_;
    bool isTurned_;
    std::vector<Cut> cuts_;
    std::size_t properties_ = 0;
    int depth_ = 0;
    int rdfDepth_ = 0; ///< 0 before the first
    int cutDepth_ = 0; ///< of the element that is being left out; 0 outside
    std::size_t cutBegin_ = 0;
};

void PacketScanner::Start(std::string_view triplet, const char** attributes)
{
    ++depth_;
    if (cutDepth_ > 0) {
        return;
    }
    const Name name = Split(triplet);
    if (IsLeftOut(name)) {
        cutDepth_ = depth_;
        cutBegin_ = TagPlace();
        return;
    }
    if (rdfDepth_ == 0 && name.space == syntaxSpace && name.local == "RDF") {
        rdfDepth_ = depth_;
    }
    properties_ += IsProperty(name, depth_) ? 1 : 0;
    for (; *attributes != nullptr; attributes += 2) {
        const Name attribute = Split(attributes[0]);
        if (IsLeftOut(attribute)) {
            CutAttribute(attribute);
        } else {
            properties_ += IsProperty(attribute, depth_ + 1) ? 1 : 0;
        }
    }
}

void PacketScanner::End()
{
    if (cutDepth_ == depth_) {
        // An empty element ends with the tag that begins it.
        const std::size_t end = TagEnd(cutBegin_);
        const bool isEmpty = text_[end - 2] == '/';
        cuts_.push_back({cutBegin_, isEmpty ? end : TagEnd(TagPlace())});
        cutDepth_ = 0;
    }
    --depth_;
}

/// Cuts an attribute of the tag at hand, with the blank before it.
void PacketScanner::CutAttribute(const Name& name)
{
    const std::string word = std::string(name.prefix) + ":" + std::string(name.local);
    const std::size_t end = TagEnd(TagPlace());
    Quotes quotes;
    for (std::size_t i = TagPlace(); i + 1 + word.size() < end; ++i) {
        const char behind = text_[i + 1 + word.size()];
        if (quotes.IsOutside(text_[i]) && IsBlank(text_[i]) &&
            text_.substr(i + 1, word.size()) == word && (behind == '=' || IsBlank(behind)))
        {
            const std::size_t open = text_.find_first_of("\"'", i);
            cuts_.push_back({i, text_.find(text_[open], open + 1) + 1});
            return;
        }
    }
}

std::vector<unsigned char> PacketScanner::Rest()
{
    // Attributes were found in the order of the parser, not of the text.
    std::sort(cuts_.begin(), cuts_.end(), [](Cut a, Cut b) { return a.begin < b.begin; });
    std::vector<unsigned char> rest;
    std::size_t place = 0;
    for (const Cut& cut : cuts_) {
        const std::string_view kept = text_.substr(place, cut.begin - place);
        rest.insert(rest.end(), kept.begin(), kept.end());
        place = cut.end;
    }
    rest.insert(rest.end(), text_.begin() + static_cast<std::ptrdiff_t>(place), text_.end());
    return rest;
}

} // namespace

XmpCopy CopyXmp(std::span<const unsigned char> packet, bool isTurned)
{
    std::string_view text(reinterpret_cast<const char*>(packet.data()), packet.size());
    while (!text.empty() && text.back() == '\0') {
        text.remove_suffix(1);
    }
    XmpCopy copy;
    PacketScanner scanner(text, isTurned);
    if (text.empty() || !scanner.Scan()) {
        copy.isDamaged = !text.empty();
        return copy;
    }
    copy.kept = scanner.Kept();
    copy.leftOut = scanner.LeftOut();
    if (copy.kept > 0) {
        copy.packet = scanner.Rest();
    }
    return copy;
}

} // namespace qva
