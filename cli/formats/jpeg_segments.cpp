#include "formats/jpeg_segments.h"

#include "picture/iptc_copy.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace qva {

namespace {

using namespace std::string_view_literals;
using Bytes = std::vector<unsigned char>;

// Markers of ITU-T T.81, table B.1.
constexpr int startOfImage = 0xd8;
constexpr int endOfImage = 0xd9;
constexpr int startOfScan = 0xda;
constexpr int app1 = 0xe1;
constexpr int app2 = 0xe2;
constexpr int app13 = 0xed;

std::string_view TextOf(const Bytes& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Takes what stands behind a name, once.
/// @return whether the segment begins with the name.
bool TakeNamed(const Bytes& segment, std::string_view name, Bytes& target)
{
    if (!TextOf(segment).starts_with(name)) {
        return false;
    }
    if (target.empty()) {
        target.assign(segment.begin() + static_cast<std::ptrdiff_t>(name.size()), segment.end());
    }
    return true;
}

/// Puts a profile together from parts that come in any order (ICC.1:2010, annex B.4).
class ProfileParts {
public:
    /// @return whether the segment is a part.
    bool Take(const Bytes& segment)
    {
        constexpr std::string_view name = "ICC_PROFILE\0"sv;
        if (!TextOf(segment).starts_with(name)) {
            return false;
        }
        fits_ = fits_ && segment.size() > name.size() + 2;
        if (fits_) {
            const unsigned number = segment[name.size()];
            fits_ = number >= 1 && (count_ == 0 || count_ == segment[name.size() + 1]) &&
                    parts_[number].empty();
            count_ = segment[name.size() + 1];
            parts_[number].assign(segment.begin() + static_cast<std::ptrdiff_t>(name.size() + 2),
                                  segment.end());
        }
        any_ = true;
        return true;
    }

    void Give(JpegSegments& segments) const
    {
        bool whole = any_ && fits_;
        for (unsigned number = 1; number <= count_ && whole; ++number) {
            whole = !parts_[number].empty();
            segments.profile.insert(segments.profile.end(), parts_[number].begin(),
                                    parts_[number].end());
        }
        if (!whole) {
            segments.profile.clear();
        }
        segments.isProfileDamaged = any_ && !whole;
    }

private:
    std::array<Bytes, 256> parts_;
    unsigned count_ = 0;
    bool any_ = false;
    bool fits_ = true;
};

void TakeSegment(int marker, const Bytes& segment, std::int64_t place, ProfileParts& profile,
                 JpegSegments& segments)
{
    constexpr std::string_view pictures = "MPF\0"sv;
    Metadata& metadata = segments.metadata;
    if (marker == app1) {
        TakeNamed(segment, "Exif\0\0"sv, metadata.exif) ||
            TakeNamed(segment, "http://ns.adobe.com/xap/1.0/\0"sv, metadata.xmp);
    } else if (marker == app2 && !profile.Take(segment) &&
               !TakeNamed(segment, "urn:iso:std:iso:ts:21496:-1\0"sv, segments.gainMap))
    {
        const bool isFirst = segments.pictures.empty();
        if (TakeNamed(segment, pictures, segments.pictures) && isFirst) {
            segments.picturesPlace = place + static_cast<std::int64_t>(pictures.size());
        }
    } else if (Bytes resources; marker == app13 && metadata.iptc.empty() &&
                                TakeNamed(segment, "Photoshop 3.0\0"sv, resources))
    {
        metadata.iptc = IptcOfResources(resources);
    }
}

/// @return the next marker; -1 where none follows. Any number of 0xff may stand before it.
int NextMarker(std::FILE* file)
{
    if (std::fgetc(file) != 0xff) {
        return -1;
    }
    int marker = 0xff;
    while (marker == 0xff) {
        marker = std::fgetc(file);
    }
    return marker;
}

} // namespace

JpegSegments ReadJpegSegments(std::FILE* file, std::int64_t start)
{
    JpegSegments segments;
    ProfileParts profile;
    if (fseeko(file, start, SEEK_SET) != 0 || NextMarker(file) != startOfImage) {
        return segments;
    }
    Bytes segment;
    for (int marker = NextMarker(file);
         marker > 0 && marker != startOfScan && marker != endOfImage && marker != startOfImage;
         marker = NextMarker(file))
    {
        const int high = std::fgetc(file);
        const int low = std::fgetc(file);
        const int size = high << 8 | low;
        if (high < 0 || low < 0 || size < 2) {
            break;
        }
        segment.resize(static_cast<std::size_t>(size - 2));
        const std::int64_t place = ftello(file);
        if (std::fread(segment.data(), 1, segment.size(), file) != segment.size()) {
            break;
        }
        TakeSegment(marker, segment, place, profile, segments);
    }
    profile.Give(segments);
    return segments;
}

} // namespace qva
