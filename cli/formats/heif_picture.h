// One picture of a HEIF file: checked by what stands before its pixels, then decoded.
#pragma once

#include "formats/coded_picture.h"
#include "formats/heif_items.h"

#include <memory>
#include <string>
#include <vector>

namespace qva {

/// The pixels of one item, as stored: neither cropped, turned nor mirrored.
class HeifPicture {
public:
    /// Reads and checks all that stands before the pixels.
    /// @param items  must outlive the object.
    /// @throws Failure for kinds that cannot be read, sizes beyond the limits, and damage.
    HeifPicture(const std::string& path, const HeifItems& items, const HeifItem& item,
                const SizeLimits& limits);

    ImageSize Size() const { return size_; }

    /// Of every coded picture; the size is that of one.
    const CodedHeader& Header() const { return header_; }
    bool IsAv1() const { return codec_ == FourLetters("av01"); }

    /// Memory that Decode takes at its peak.
    std::uint64_t DecodeBytes() const;

    /// Decodes where that has not been done yet.
    void Decode();

    /// Luma and two chroma planes, once decoded.
    PlaneSet Planes() const;

    /// The code points that the stream states, as far as they are known; all once decoded.
    std::optional<CodePoints> StreamPoints() const;

private:
    void ReadGrid(const HeifItem& item);
    void ReadTileSize();
    void ReadHeader(const HeifItem& tile);
    ImageSize PlaneSize(ImageSize luma, std::size_t plane) const;
    std::uint64_t BytesOf(ImageSize luma) const;
    std::unique_ptr<CodedPicture> DecodeTile(std::size_t tile, int threads) const;
    void DecodeGrid();
    void Paste(const CodedPicture& picture, std::size_t tile);

    std::string path_;
    const HeifItems& items_;
    std::uint32_t codec_ = 0;            ///< type of the coded items
    std::vector<const HeifItem*> tiles_; ///< coded items, row by row; one where there is no grid
    int rows_ = 1;
    int columns_ = 1;
    ImageSize size_;
    ImageSize tileSize_;
    CodedHeader header_;
    std::uint64_t codedBytes_ = 0;
    std::unique_ptr<CodedPicture> single_;             ///< what was decoded, where there is no grid
    std::array<std::vector<unsigned char>, 3> planes_; ///< else
    std::optional<CodePoints> decodedPoints_;
};

/// @return the letters of a type, for people.
std::string LettersOf(std::uint32_t type);

} // namespace qva
