#include "formats/heif_items.h"

#include "base/errors.h"

#include <algorithm>
#include <set>

namespace qva {

namespace {

struct Box {
    std::uint32_t type = 0;
    Bytes payload;
};

Box NextBox(ByteReader& reader)
{
    std::uint64_t size = reader.Word();
    Box box;
    box.type = reader.Word();
    std::uint64_t header = 8;
    if (size == 1) {
        size = reader.Number(8);
        header = 16;
    } else if (size == 0) {
        size = header + reader.Left();
    }
    if (size < header) {
        throw std::out_of_range("box");
    }
    box.payload = reader.Take(size - header);
    return box;
}

template <typename Body>
void ForEachBox(Bytes bytes, const Body& body)
{
    ByteReader reader(bytes);
    while (reader.Left() > 0) {
        body(NextBox(reader));
    }
}

/// What stands before the payload of a full box.
struct Version {
    int number = 0;
    std::uint32_t flags = 0;
};

Version ReadVersion(ByteReader& reader)
{
    const std::uint32_t word = reader.Word();
    return {static_cast<int>(word >> 24), word & 0xffffff};
}

bool IsPicture(const HeifItem& item)
{
    return item.type == FourLetters("av01") || item.type == FourLetters("hvc1") ||
           item.type == FourLetters("grid");
}

} // namespace

HeifItems::HeifItems(const std::string& path, Bytes file) : path_(path), file_(file)
{
    try {
        ForEachBox(file, [this](const Box& box) {
            hasMovie_ = hasMovie_ || box.type == FourLetters("moov");
            // There is one; what claims to be another is passed over.
            if (box.type == FourLetters("meta") && !hasMeta_) {
                hasMeta_ = true;
                ReadMeta(box.payload);
            }
        });
    } catch (const std::out_of_range&) {
        throw Failure(path, "is damaged: a box ends before what it should hold");
    }
    if (!hasMeta_) {
        throw Failure(path, hasMovie_ ? "holds a track of pictures, but no still one"
                                      : "is damaged: it has no list of pictures");
    }
    if (Find(primary_) == nullptr) {
        throw Failure(path, "is damaged: its main picture is missing");
    }
}

void HeifItems::ReadMeta(Bytes box)
{
    ByteReader reader(box);
    ReadVersion(reader);
    ForEachBox(box.subspan(reader.Place()), [this](const Box& part) {
        ByteReader inner(part.payload);
        switch (part.type) {
        case FourLetters("pitm"):
            primary_ =
                static_cast<std::uint32_t>(inner.Number(ReadVersion(inner).number == 0 ? 2 : 4));
            break;
        case FourLetters("iinf"):
            ReadEntries(part.payload);
            break;
        case FourLetters("iloc"):
            ReadPlaces(part.payload);
            break;
        case FourLetters("iref"):
            ReadReferences(part.payload);
            break;
        case FourLetters("iprp"):
            ReadProperties(part.payload);
            break;
        case FourLetters("idat"):
            idat_ = part.payload;
            break;
        default:
            break;
        }
    });
}

void HeifItems::ReadEntries(Bytes box)
{
    ByteReader reader(box);
    reader.Number(ReadVersion(reader).number == 0 ? 2 : 4);
    ForEachBox(box.subspan(reader.Place()), [this](const Box& entry) {
        if (entry.type == FourLetters("infe")) {
            ReadEntry(entry.payload);
        }
    });
}

void HeifItems::ReadEntry(Bytes box)
{
    ByteReader reader(box);
    const Version version = ReadVersion(reader);
    if (version.number < 2) {
        return; // pictures came with version 2
    }
    const auto id = static_cast<std::uint32_t>(reader.Number(version.number == 2 ? 2 : 4));
    HeifItem& item = items_[id];
    item.id = id;
    item.isHidden = (version.flags & 1) != 0;
    // Protected items cannot be read.
    item.isElsewhere = item.isElsewhere || reader.Number(2) != 0;
    item.type = reader.Word();
    if (item.type == FourLetters("mime")) {
        reader.Text();
        item.contentType = reader.Text();
    }
}

void HeifItems::ReadPlaces(Bytes box)
{
    ByteReader reader(box);
    const int version = ReadVersion(reader).number;
    const auto widths = static_cast<int>(reader.Number(2));
    // Bytes of a place, a length, a base and an index.
    const int sizes[4] = {widths >> 12, widths >> 8 & 15, widths >> 4 & 15,
                          version > 0 ? widths & 15 : 0};
    if (std::any_of(sizes, sizes + 4, [](int size) { return size > 8; })) {
        throw std::out_of_range("sizes");
    }
    const std::uint64_t count = reader.Number(version < 2 ? 2 : 4);
    for (std::uint64_t i = 0; i < count; ++i) {
        ReadPlacesOf(reader, version, sizes);
    }
}

void HeifItems::ReadPlacesOf(ByteReader& reader, int version, const int sizes[4])
{
    const auto id = static_cast<std::uint32_t>(reader.Number(version < 2 ? 2 : 4));
    const std::uint64_t construction = version > 0 ? reader.Number(2) & 15 : 0;
    const bool isOtherFile = reader.Number(2) != 0;
    const std::uint64_t base = reader.Number(sizes[2]);
    const std::uint64_t count = reader.Number(2);
    HeifItem& item = items_[id];
    item.isInIdat = construction == 1;
    item.isElsewhere = item.isElsewhere || isOtherFile || construction > 1;
    item.extents.clear();
    for (std::uint64_t i = 0; i < count; ++i) {
        reader.Number(sizes[3]);
        const std::uint64_t place = base + reader.Number(sizes[0]);
        item.extents.emplace_back(place, reader.Number(sizes[1]));
        if (sizes[0] + sizes[1] == 0) {
            break; // all further ones are the same, and take no bytes of the file
        }
    }
}

void HeifItems::ReadReferences(Bytes box)
{
    ByteReader reader(box);
    const int size = ReadVersion(reader).number == 0 ? 2 : 4;
    ForEachBox(box.subspan(reader.Place()), [this, size](const Box& entry) {
        ByteReader inner(entry.payload);
        HeifReference reference;
        reference.type = entry.type;
        reference.from = static_cast<std::uint32_t>(inner.Number(size));
        const std::uint64_t count = inner.Number(2);
        for (std::uint64_t i = 0; i < count; ++i) {
            reference.to.push_back(static_cast<std::uint32_t>(inner.Number(size)));
        }
        references_.push_back(std::move(reference));
    });
}

void HeifItems::ReadProperties(Bytes box)
{
    ForEachBox(box, [this](const Box& part) {
        if (part.type == FourLetters("ipco")) {
            ForEachBox(part.payload, [this](const Box& property) {
                properties_.push_back({property.type, property.payload});
            });
        } else if (part.type == FourLetters("ipma")) {
            ReadAssociations(part.payload);
        }
    });
}

void HeifItems::ReadAssociations(Bytes box)
{
    ByteReader reader(box);
    const Version version = ReadVersion(reader);
    const bool isWide = (version.flags & 1) != 0;
    const std::uint64_t count = reader.Number(4);
    for (std::uint64_t i = 0; i < count; ++i) {
        const auto id = static_cast<std::uint32_t>(reader.Number(version.number == 0 ? 2 : 4));
        const std::uint64_t uses = reader.Number(1);
        std::vector<std::uint16_t>& properties = items_[id].properties;
        for (std::uint64_t k = 0; k < uses; ++k) {
            // The highest bit says whether a reader must understand it.
            properties.push_back(static_cast<std::uint16_t>(isWide ? reader.Number(2) & 0x7fff
                                                                   : reader.Number(1) & 0x7f));
        }
    }
}

const HeifItem* HeifItems::Find(std::uint32_t id) const
{
    const auto found = items_.find(id);
    return found == items_.end() || found->second.type == 0 ? nullptr : &found->second;
}

std::vector<unsigned char> HeifItems::DataOf(const HeifItem& item) const
{
    if (item.isElsewhere) {
        throw Failure(path_, "the data of a picture are protected, or lie in another file");
    }
    const Bytes whole = item.isInIdat ? idat_ : file_;
    std::vector<unsigned char> data;
    for (const auto& [place, length] : item.extents) {
        // Extents may overlap; their sum could be far more than the file.
        if (place > whole.size() || length > whole.size() - place ||
            length > file_.size() - data.size()) {
            throw Failure(path_, "is damaged: the data of a picture lie outside the file");
        }
        const Bytes piece =
            whole.subspan(static_cast<std::size_t>(place), static_cast<std::size_t>(length));
        data.insert(data.end(), piece.begin(), piece.end());
    }
    return data;
}

std::vector<HeifProperty> HeifItems::PropertiesOf(const HeifItem& item) const
{
    std::vector<HeifProperty> found;
    for (const std::uint16_t number : item.properties) {
        if (number >= 1 && number <= properties_.size()) {
            found.push_back(properties_[number - 1U]);
        }
    }
    return found;
}

Bytes HeifItems::PropertyOf(const HeifItem& item, std::uint32_t type) const
{
    for (const HeifProperty& property : PropertiesOf(item)) {
        if (property.type == type) {
            return property.payload;
        }
    }
    return {};
}

std::vector<std::uint32_t> HeifItems::TargetsOf(std::uint32_t from, std::uint32_t type) const
{
    std::vector<std::uint32_t> targets;
    for (const HeifReference& reference : references_) {
        if (reference.from == from && reference.type == type) {
            targets.insert(targets.end(), reference.to.begin(), reference.to.end());
        }
    }
    return targets;
}

std::vector<std::uint32_t> HeifItems::SourcesOf(std::uint32_t to, std::uint32_t type) const
{
    std::vector<std::uint32_t> sources;
    for (const HeifReference& reference : references_) {
        if (reference.type == type &&
            std::find(reference.to.begin(), reference.to.end(), to) != reference.to.end())
        {
            sources.push_back(reference.from);
        }
    }
    return sources;
}

bool HeifItems::HasPicturesBeside(std::uint32_t id) const
{
    std::set<std::uint32_t> helpers = {id};
    for (const HeifReference& reference : references_) {
        if (reference.type == FourLetters("thmb") || reference.type == FourLetters("auxl")) {
            helpers.insert(reference.from);
        } else if (reference.type == FourLetters("dimg")) {
            helpers.insert(reference.to.begin(), reference.to.end());
        }
    }
    return std::any_of(items_.begin(), items_.end(), [&helpers](const auto& entry) {
        return IsPicture(entry.second) && !entry.second.isHidden && !helpers.contains(entry.first);
    });
}

} // namespace qva
