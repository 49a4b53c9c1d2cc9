#include "formats/heif_picture.h"

#include "base/errors.h"
#include "base/workers.h"
#include "formats/image_source.h"
#include "picture/input_file.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <fmt/format.h>

namespace qva {

namespace {

constexpr const char* badGrid = "is damaged: its grid of pictures";
constexpr const char* tooShort = "is damaged: the data of a picture end too early, or contradict "
                                 "each other";

ImageSize StatedSize(const std::string& path, const HeifItems& items, const HeifItem& item)
{
    const Bytes payload = items.PropertyOf(item, FourLetters("ispe"));
    if (payload.size() < 12) {
        throw Failure(path, "is damaged: it does not state the size of a picture");
    }
    ByteReader reader(payload.subspan(4));
    const std::int64_t width = reader.Word();
    return {width, reader.Word()};
}

bool IsCoded(const HeifItem& item)
{
    return item.type == FourLetters("av01") || item.type == FourLetters("hvc1");
}

#if defined(QVA_HAVE_AVIF)
constexpr const char* missingForAv1 = nullptr;
#else
constexpr const char* missingForAv1 = "dav1d";
#endif
#if defined(QVA_HAVE_HEIC)
constexpr const char* missingForHevc = nullptr;
#else
constexpr const char* missingForHevc = "libde265";
#endif

/// @return the library that this build lacks for a codec; nullptr where it has it.
const char* MissingLibrary(std::uint32_t codec)
{
    return codec == FourLetters("av01") ? missingForAv1 : missingForHevc;
}

std::uint32_t ConfigurationOf(std::uint32_t codec)
{
    return codec == FourLetters("av01") ? FourLetters("av1C") : FourLetters("hvcC");
}

std::size_t PlaneCount(const CodedHeader& header)
{
    return header.chroma.isGrey ? 1 : 3;
}

std::size_t SampleBytes(const CodedHeader& header)
{
    return header.bits > 8 ? 2 : 1;
}

bool SameBytes(Bytes first, Bytes second)
{
    return std::equal(first.begin(), first.end(), second.begin(), second.end());
}

/// @return whether so many tiles cover a side, and none lies wholly outside.
bool Covers(std::int64_t tile, int count, std::int64_t side)
{
    return tile * count >= side && tile * (count - 1) < side;
}

} // namespace

std::string LettersOf(std::uint32_t type)
{
    std::string letters;
    for (int shift = 24; shift >= 0; shift -= 8) {
        letters.push_back(static_cast<char>(type >> shift & 0xff));
    }
    return OneLine(letters);
}

HeifPicture::HeifPicture(const std::string& path, const HeifItems& items, const HeifItem& item,
                         const SizeLimits& limits)
    : path_(path), items_(items)
{
    size_ = StatedSize(path, items, item);
    CheckSize(path, size_, limits);
    CheckPromise(path, size_);
    if (item.type == FourLetters("grid")) {
        ReadGrid(item);
    } else {
        tiles_.push_back(&item);
    }
    codec_ = tiles_.front()->type;
    if (!IsCoded(*tiles_.front())) {
        throw Failure(path, fmt::format("holds a picture of the kind \"{}\"; only AV1, HEVC and "
                                        "grids of them can be read",
                                        LettersOf(codec_)));
    }
    if (const char* library = MissingLibrary(codec_)) {
        throw Failure(
            path,
            fmt::format("this build was made without {}, which decodes its pictures", library));
    }
    ReadTileSize();
    CheckSize(path, tileSize_, limits);
    for (const HeifItem* tile : tiles_) {
        ReadHeader(*tile);
    }
}

void HeifPicture::ReadGrid(const HeifItem& item)
{
    // ISO/IEC 23008-12, 6.6.2.3.2.
    const std::vector<unsigned char> data = items_.DataOf(item);
    try {
        ByteReader reader(data);
        reader.Number(1);
        const int bytes = (reader.Number(1) & 1) != 0 ? 4 : 2;
        rows_ = static_cast<int>(reader.Number(1)) + 1;
        columns_ = static_cast<int>(reader.Number(1)) + 1;
        const auto width = static_cast<std::int64_t>(reader.Number(bytes));
        const auto height = static_cast<std::int64_t>(reader.Number(bytes));
        if (width != size_.width || height != size_.height) {
            throw std::out_of_range("size");
        }
    } catch (const std::out_of_range&) {
        throw Failure(path_, badGrid);
    }
    for (const std::uint32_t id : items_.TargetsOf(item.id, FourLetters("dimg"))) {
        const HeifItem* tile = items_.Find(id);
        if (tile == nullptr || tiles_.size() == 65536) {
            throw Failure(path_, badGrid);
        }
        tiles_.push_back(tile);
    }
    if (tiles_.size() != static_cast<std::size_t>(rows_) * static_cast<std::size_t>(columns_)) {
        throw Failure(path_, badGrid);
    }
}

void HeifPicture::ReadTileSize()
{
    const HeifItem& first = *tiles_.front();
    const std::uint32_t type = ConfigurationOf(codec_);
    const Bytes configuration = items_.PropertyOf(first, type);
    tileSize_ = StatedSize(path_, items_, first);
    for (const HeifItem* tile : tiles_) {
        const ImageSize size = StatedSize(path_, items_, *tile);
        if (tile->type != codec_ || size.width != tileSize_.width ||
            size.height != tileSize_.height ||
            !SameBytes(configuration, items_.PropertyOf(*tile, type)))
        {
            throw Failure(path_, "is damaged: the pictures of its grid are not of one kind");
        }
    }
    if (!Covers(tileSize_.width, columns_, size_.width) ||
        !Covers(tileSize_.height, rows_, size_.height))
    {
        throw Failure(path_, badGrid);
    }
}

void HeifPicture::ReadHeader(const HeifItem& tile)
{
    const std::vector<unsigned char> data = items_.DataOf(tile);
    codedBytes_ += data.size();
    CodedHeader header;
    try {
        header = IsAv1() ? ReadAv1Header(data)
                         : ReadHevcHeader(items_.PropertyOf(tile, FourLetters("hvcC")), data);
    } catch (const std::out_of_range&) {
        throw Failure(path_, tooShort);
    }
    // A decoder follows the stream, whatever size was checked before. HEVC codes up to 63 samples
    // more each way than it shows.
    constexpr std::int64_t margin = 63;
    const ImageSize stated = tileSize_;
    if (header.size.width != stated.width || header.size.height != stated.height ||
        header.kept.width > stated.width + margin || header.kept.height > stated.height + margin)
    {
        throw Failure(path_, fmt::format("is damaged: it states {} x {} pixels where {} x {} are "
                                         "coded",
                                         stated.width, stated.height, header.size.width,
                                         header.size.height));
    }
    if (header.bits > 12) {
        throw Failure(path_, fmt::format("its {}-bit samples cannot be read", header.bits));
    }
    if (&tile != tiles_.front() &&
        (header.bits != header_.bits || header.chroma.isGrey != header_.chroma.isGrey ||
         header.chroma.shiftX != header_.chroma.shiftX ||
         header.chroma.shiftY != header_.chroma.shiftY))
    {
        throw Failure(path_, "is damaged: the pictures of its grid are not of one kind");
    }
    header_ = header;
    // Chroma samples may not be shared by two tiles.
    if ((columns_ > 1 && stated.width % (1 << header.chroma.shiftX) != 0) ||
        (rows_ > 1 && stated.height % (1 << header.chroma.shiftY) != 0))
    {
        throw Failure(path_, badGrid);
    }
}

ImageSize HeifPicture::PlaneSize(ImageSize luma, std::size_t plane) const
{
    const int shiftX = plane == 0 ? 0 : header_.chroma.shiftX;
    const int shiftY = plane == 0 ? 0 : header_.chroma.shiftY;
    return {(luma.width + shiftX) >> shiftX, (luma.height + shiftY) >> shiftY};
}

std::uint64_t HeifPicture::BytesOf(ImageSize luma) const
{
    std::int64_t samples = 0;
    for (std::size_t k = 0; k < PlaneCount(header_); ++k) {
        const ImageSize plane = PlaneSize(luma, k);
        samples += plane.width * plane.height;
    }
    return static_cast<std::uint64_t>(samples) * SampleBytes(header_);
}

std::uint64_t HeifPicture::DecodeBytes() const
{
    // Reckoned, not measured: beside its planes a decoder may keep as much again.
    if (tiles_.size() == 1) {
        return BytesOf(tileSize_) * 2 + codedBytes_;
    }
    const auto threads = static_cast<std::uint64_t>(Workers());
    const std::uint64_t atOnce = std::min<std::uint64_t>(tiles_.size(), threads);
    return BytesOf(size_) + BytesOf(tileSize_) * 2 * atOnce + codedBytes_;
}

std::unique_ptr<CodedPicture> HeifPicture::DecodeTile(std::size_t tile, int threads) const
{
    const HeifItem& item = *tiles_[tile];
    const std::vector<unsigned char> data = items_.DataOf(item);
    // Not even named where the build lacks it: the library would be missed at its end.
    if constexpr (missingForAv1 == nullptr) {
        if (IsAv1()) {
            return DecodeAv1(path_, data, header_, threads);
        }
    }
    if constexpr (missingForHevc == nullptr) {
        return DecodeHevc(path_, items_.PropertyOf(item, FourLetters("hvcC")), data, header_);
    }
    // The constructor has refused it.
    throw Failure(path_, "its pictures cannot be decoded");
}

void HeifPicture::Decode()
{
    if (single_ != nullptr || !planes_[0].empty()) {
        return;
    }
    if (tiles_.size() > 1) {
        DecodeGrid();
        return;
    }
    single_ = DecodeTile(0, Workers());
    decodedPoints_ = single_->Points();
}

void HeifPicture::DecodeGrid()
{
    for (std::size_t k = 0; k < PlaneCount(header_); ++k) {
        const ImageSize plane = PlaneSize(size_, k);
        planes_[k].resize(static_cast<std::size_t>(plane.width * plane.height) *
                          SampleBytes(header_));
    }
    // The first failure of a tile, by its place, whatever thread met it.
    std::vector<std::exception_ptr> failures(tiles_.size());
    ForEach(static_cast<std::int64_t>(tiles_.size()), [&](std::int64_t i, int) {
        const auto tile = static_cast<std::size_t>(i);
        try {
            const std::unique_ptr<CodedPicture> picture = DecodeTile(tile, 1);
            Paste(*picture, tile);
            if (i == 0) {
                decodedPoints_ = picture->Points();
            }
        } catch (...) {
            failures[tile] = std::current_exception();
        }
    });
    for (const std::exception_ptr& failure : failures) {
        if (failure) {
            planes_ = {};
            std::rethrow_exception(failure);
        }
    }
}

void HeifPicture::Paste(const CodedPicture& picture, std::size_t tile)
{
    const PlaneSet from = picture.Planes();
    const auto row = static_cast<std::int64_t>(tile) / columns_;
    const auto column = static_cast<std::int64_t>(tile) % columns_;
    const auto bytes = static_cast<std::int64_t>(SampleBytes(header_));
    for (std::size_t k = 0; k < PlaneCount(header_); ++k) {
        const ImageSize whole = PlaneSize(size_, k);
        const ImageSize part = PlaneSize(tileSize_, k);
        const std::int64_t left = column * part.width;
        const std::int64_t top = row * part.height;
        const std::int64_t width = std::min(part.width, whole.width - left);
        for (std::int64_t y = 0; y < std::min(part.height, whole.height - top); ++y) {
            std::memcpy(planes_[k].data() + ((top + y) * whole.width + left) * bytes,
                        from[k].first + y * from[k].stride,
                        static_cast<std::size_t>(width * bytes));
        }
    }
}

PlaneSet HeifPicture::Planes() const
{
    if (single_) {
        return single_->Planes();
    }
    PlaneSet planes;
    for (std::size_t k = 0; k < PlaneCount(header_); ++k) {
        planes[k].first = planes_[k].data();
        planes[k].stride = static_cast<std::ptrdiff_t>(
            static_cast<std::size_t>(PlaneSize(size_, k).width) * SampleBytes(header_));
    }
    return planes;
}

std::optional<CodePoints> HeifPicture::StreamPoints() const
{
    return decodedPoints_ ? decodedPoints_ : header_.points;
}

} // namespace qva
