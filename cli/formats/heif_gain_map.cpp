#include "formats/heif_gain_map.h"

#include "base/errors.h"
#include "formats/gain_map_xmp.h"
#include "formats/heif_colour.h"
#include "picture/input_file.h"

#include <algorithm>

namespace qva {

namespace {

constexpr const char* appleKind = "urn:com:apple:photo:2020:aux:hdrgainmap";

/// What says that a picture has a map, and where the map is.
struct Found {
    GainMapFile file;
    std::uint32_t map = 0;
};

/// The primaries that properties state.
std::optional<Chromaticities> PrimariesOf(const std::vector<HeifProperty>& properties)
{
    SourceDescription description;
    description.bits = 8;
    description.tags = ColourOf(properties, {}).tags;
    if (!description.tags.codePoints && description.tags.profile.empty()) {
        return std::nullopt;
    }
    try {
        return BaseLight(description).Primaries();
    } catch (const Failure&) {
        return std::nullopt;
    }
}

// The group "altr" would say which rendition the file prefers to show. The brightest is wanted
// here, so it is not asked.
std::optional<Found> FindToneMap(const HeifItems& items, const HeifItem& primary)
{
    for (const std::uint32_t id : items.SourcesOf(primary.id, FourLetters("dimg"))) {
        const HeifItem* item = items.Find(id);
        const std::vector<std::uint32_t> parts = items.TargetsOf(id, FourLetters("dimg"));
        if (item == nullptr || item->type != FourLetters("tmap") || parts.front() != primary.id) {
            continue;
        }
        if (parts.size() != 2) {
            throw GainMapProblem("is not where the file says");
        }
        Found found;
        found.file.kind = "ISO 21496-1";
        found.file.numbers = ParseGainMapItem(items.DataOf(*item));
        found.file.alternate = PrimariesOf(items.PropertiesOf(*item));
        found.map = parts[1];
        return found;
    }
    return std::nullopt;
}

std::optional<Found> FindAppleMap(const HeifItems& items, const HeifItem& primary,
                                  const std::vector<unsigned char>& exif)
{
    for (const std::uint32_t id : items.SourcesOf(primary.id, FourLetters("auxl"))) {
        const HeifItem* item = items.Find(id);
        if (item == nullptr || AuxiliaryKind(items, id) != appleKind) {
            continue;
        }
        Found found;
        found.file.kind = "Apple";
        found.file.numbers = AppleNumbers(ReadGainMapXmp(MetadataOf(items, *item).xmp), exif);
        found.map = id;
        return found;
    }
    return std::nullopt;
}

} // namespace

std::string AuxiliaryKind(const HeifItems& items, std::uint32_t id)
{
    const HeifItem* item = items.Find(id);
    const Bytes payload = item == nullptr ? Bytes() : items.PropertyOf(*item, FourLetters("auxC"));
    if (payload.size() < 4) {
        return "";
    }
    const Bytes name = payload.subspan(4);
    return {name.begin(), std::find(name.begin(), name.end(), 0)};
}

std::unique_ptr<HeifGainMap> HeifGainMap::Find(const std::string& path, const HeifItems& items,
                                               const HeifItem& primary, const StoredView& view,
                                               const std::vector<unsigned char>& exif,
                                               const SizeLimits& limits)
{
    try {
        std::optional<Found> found = FindToneMap(items, primary);
        found = found ? found : FindAppleMap(items, primary, exif);
        if (!found) {
            return nullptr;
        }
        const HeifItem* item = items.Find(found->map);
        if (item == nullptr) {
            throw GainMapProblem("is not where the file says");
        }
        std::unique_ptr<HeifGainMap> map(new HeifGainMap(path, items, *item, limits));
        map->file_ = found->file;
        map->id_ = found->map;
        map->Load(path, items.PropertiesOf(*item), view);
        return map;
    } catch (const Failure& failure) {
        const std::string reason = failure.what();
        throw GainMapProblem(reason.substr(std::min(path.size() + 2, reason.size())));
    }
}

HeifGainMap::HeifGainMap(const std::string& path, const HeifItems& items, const HeifItem& map,
                         const SizeLimits& limits)
    : picture_(path, items, map, limits)
{
}

// Decoded at once: what is damaged in it must be known before the first row of the picture is
// given.
void HeifGainMap::Load(const std::string& path, const std::vector<HeifProperty>& properties,
                       const StoredView& view)
{
    const CodedHeader& header = picture_.Header();
    view_ = ViewOf(properties, picture_.Size());
    if (view_.orientation != view.orientation) {
        throw GainMapProblem("is turned in another way than the picture");
    }
    CheckMemory(path, "the gain map", picture_.DecodeBytes());
    picture_.Decode();
    PlaneKind kind{picture_.Size(), header.bits, header.chroma};
    const std::optional<CodePoints> stated = ColourOf(properties, header).points;
    if (const auto points = stated ? stated : picture_.StreamPoints()) {
        kind.matrix = points->matrix;
        kind.fullRange = points->fullRange;
    }
    if (!KnowsMatrix(kind.matrix)) {
        throw GainMapProblem("has a matrix of colours that cannot be read");
    }
    rows_.emplace(kind);
    file_.size = view_.size;
    file_.channels = header.chroma.isGrey ? 1 : 3;
    stored_.resize(static_cast<std::size_t>(picture_.Size().width * 3));
    for (Kept& kept : kept_) {
        kept = {-1,
                std::vector<float>(static_cast<std::size_t>(view_.size.width * file_.channels))};
    }
}

const float* HeifGainMap::Row(std::int64_t row)
{
    Kept& kept = kept_[static_cast<std::size_t>(row % 2)];
    if (kept.row != row) {
        rows_->Convert(picture_.Planes(), view_.top + row, stored_.data());
        const std::int64_t step = file_.channels == 1 ? 3 : 1;
        for (std::size_t i = 0; i < kept.samples.size(); ++i) {
            kept.samples[i] = stored_[static_cast<std::size_t>(view_.left * 3) +
                                      i * static_cast<std::size_t>(step)];
        }
        kept.row = row;
    }
    return kept.samples.data();
}

} // namespace qva
