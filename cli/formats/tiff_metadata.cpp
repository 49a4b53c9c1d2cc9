#include "formats/tiff_metadata.h"

#include "base/descriptor.h"
#include "picture/exif_copy.h"
#include "picture/exif_tags.h"
#include "picture/iptc_copy.h"
#include "picture/print_metadata.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace qva {

namespace {

using Bytes = std::vector<unsigned char>;

// TIFF 6.0; Adobe, "TIFF technical notes".
constexpr std::uint16_t xmpTag = 700;
constexpr std::uint16_t iptcTag = 33723;
constexpr std::uint16_t resourcesTag = 34377;

constexpr std::uint64_t mostEntries = 4096;

/// Reads entries where they lie: the file may be larger than memory.
class TiffFile {
public:
    explicit TiffFile(const std::string& path)
        : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC)), left_(mostMetadata)
    {
        const Bytes header = Read(0, 16);
        if (header.size() < 8 || header[0] != header[1] || (header[0] != 'I' && header[0] != 'M')) {
            return;
        }
        isLittle_ = header[0] == 'I';
        const std::uint64_t version = Number(header, 2, 2);
        isBig_ = version == 43 && header.size() == 16;
        first_ = isBig_ ? Number(header, 8, 8) : version == 42 ? Number(header, 4, 4) : 0;
    }

    /// The place of the first directory; 0 where there is none.
    std::uint64_t First() const { return first_; }

    /// @param take(tag, type, count, values)  where wants(tag) is true and there is room.
    template <typename Wants, typename Take>
    void ForEachEntry(std::uint64_t directory, const Wants& wants, const Take& take)
    {
        const std::size_t word = isBig_ ? 8 : 4;
        const std::size_t counter = isBig_ ? 8 : 2;
        const std::size_t entryBytes = 4 + 2 * word;
        const std::uint64_t count = Number(Read(directory, counter), 0, counter);
        const Bytes entries = Read(directory + counter, std::min(count, mostEntries) * entryBytes);
        for (std::size_t at = 0; at + entryBytes <= entries.size(); at += entryBytes) {
            const auto tag = static_cast<std::uint16_t>(Number(entries, at, 2));
            const auto type = static_cast<std::uint16_t>(Number(entries, at + 2, 2));
            const std::uint64_t values = Number(entries, at + 4, word);
            if (wants(tag) && values <= left_) {
                take(tag, type, static_cast<std::uint32_t>(values),
                     Values(entries, at + 4 + word, values * SizeOfType(type), word));
            }
        }
    }

    bool IsLittle() const { return isLittle_; }

    /// @return an unsigned number; 0 where the bytes do not hold it.
    std::uint64_t Number(const Bytes& bytes, std::size_t place, std::size_t count) const
    {
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < count && place + count <= bytes.size(); ++i) {
            number = number << 8 | bytes[place + (isLittle_ ? count - 1 - i : i)];
        }
        return number;
    }

private:
    // 16 to 18 are numbers of 8 bytes: supplement of the large variant.
    static std::uint64_t SizeOfType(std::uint16_t type)
    {
        return type >= 16 && type <= 18 ? 8 : TiffStructure::SizeOfType(type);
    }

    /// @return as many bytes as there are.
    Bytes Read(std::uint64_t place, std::uint64_t count) const
    {
        Bytes bytes(count);
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t read = pread(descriptor_.Get(), bytes.data() + done, bytes.size() - done,
                                       static_cast<off_t>(place + done));
            if (read < 0 && errno == EINTR) {
                continue;
            }
            if (read <= 0) {
                break;
            }
            done += static_cast<std::size_t>(read);
        }
        bytes.resize(done);
        return bytes;
    }

    /// @return nothing where the file or the room ends before.
    Bytes Values(const Bytes& entries, std::size_t field, std::uint64_t size, std::size_t word)
    {
        if (size > left_) {
            return {};
        }
        Bytes values;
        if (size <= word) {
            const auto begin = entries.begin() + static_cast<std::ptrdiff_t>(field);
            values.assign(begin, begin + static_cast<std::ptrdiff_t>(size));
        } else {
            values = Read(Number(entries, field, word), size);
        }
        left_ -= size;
        return values.size() == size ? values : Bytes();
    }

    Descriptor descriptor_;
    bool isLittle_ = false;
    bool isBig_ = false;
    std::uint64_t first_ = 0;
    std::uint64_t left_; ///< bytes that may still be taken
};

/// Some programs turn the datasets about with the numbers that they are stored as.
Bytes WithoutTurns(Bytes iptc)
{
    constexpr unsigned char marker = 0x1c;
    if (iptc.size() >= 4 && iptc[0] != marker && iptc[3] == marker) {
        for (std::size_t i = 0; i + 4 <= iptc.size(); i += 4) {
            std::swap(iptc[i], iptc[i + 3]);
            std::swap(iptc[i + 1], iptc[i + 2]);
        }
    }
    return iptc;
}

/// Takes the entries of one file apart.
class MetadataReader {
public:
    explicit MetadataReader(const std::string& path) : file_(path) {}

    Metadata Read()
    {
        if (file_.First() == 0) {
            return {};
        }
        const auto isWanted = [](std::uint16_t tag) {
            return DescribesPhotograph(tag) || tag == xmpTag || tag == iptcTag ||
                   tag == resourcesTag || tag == exifTag || tag == gpsTag;
        };
        file_.ForEachEntry(file_.First(), isWanted,
                           [this](auto tag, auto type, auto count, Bytes values) {
                               TakeMain(tag, type, count, std::move(values));
                           });
        found_.exif = TakeDirectory(exifPlace_);
        found_.gps = TakeDirectory(gpsPlace_);
        SortEntries(found_.main);
        metadata_.exif = WriteExif(found_);
        if (metadata_.iptc.empty()) {
            metadata_.iptc = IptcOfResources(resources_);
        }
        return std::move(metadata_);
    }

private:
    void TakeMain(std::uint16_t tag, std::uint16_t type, std::uint32_t count, Bytes values)
    {
        if (values.empty()) {
            return;
        }
        switch (tag) {
        case xmpTag:
            metadata_.xmp = std::move(values);
            break;
        case iptcTag:
            metadata_.iptc = WithoutTurns(std::move(values));
            break;
        case resourcesTag:
            resources_ = std::move(values);
            break;
        case exifTag:
        case gpsTag:
            (tag == exifTag ? exifPlace_ : gpsPlace_) =
                file_.Number(values, 0, std::min<std::size_t>(values.size(), 8));
            break;
        default:
            found_.main.push_back(MakeEntry(tag, type, count, std::move(values), file_.IsLittle()));
        }
    }

    std::vector<NewEntry> TakeDirectory(std::uint64_t place)
    {
        std::vector<NewEntry> entries;
        if (place != 0) {
            file_.ForEachEntry(
                place, [](std::uint16_t) { return true; },
                [&](auto tag, auto type, auto count, Bytes values) {
                    if (!values.empty() && TiffStructure::SizeOfType(type) > 0) {
                        entries.push_back(
                            MakeEntry(tag, type, count, std::move(values), file_.IsLittle()));
                    }
                });
        }
        SortEntries(entries);
        return entries;
    }

    TiffFile file_;
    Metadata metadata_;
    ExifDirectories found_;
    Bytes resources_;
    std::uint64_t exifPlace_ = 0;
    std::uint64_t gpsPlace_ = 0;
};

} // namespace

Metadata ReadTiffMetadata(const std::string& path)
{
    return MetadataReader(path).Read();
}

} // namespace qva
