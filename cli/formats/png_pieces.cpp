#include "formats/png_pieces.h"

#include <algorithm>
#include <cstdlib>

namespace qva {

namespace {

constexpr std::size_t pixelBytes = 6;

enum FilterType : unsigned char { None = 0, Paeth = 4 };

void ToFileOrder(const std::uint16_t* codes, std::size_t samples, unsigned char* out)
{
    for (std::size_t i = 0; i < samples; ++i) {
        out[i * 2] = static_cast<unsigned char>(codes[i] >> 8);
        out[i * 2 + 1] = static_cast<unsigned char>(codes[i]);
    }
}

/// PNG, third edition, 9.4: the difference to the nearest of left, above and above left to
/// left + above - above left. Of all filters it alone makes photographs of 16 bits as small as the
/// best choice for every row does, or nearly.
/// @param row, above  the bytes before the first pixel, which are 0, are read too.
void FilterByPaeth(const unsigned char* row, const unsigned char* above, std::size_t bytes,
                   unsigned char* out)
{
    for (std::size_t i = 0; i < bytes; ++i) {
        const auto left = static_cast<std::int16_t>(row[i]);
        const auto up = static_cast<std::int16_t>(above[i + pixelBytes]);
        const auto corner = static_cast<std::int16_t>(above[i]);
        const auto toLeft = static_cast<std::int16_t>(std::abs(up - corner));
        const auto toUp = static_cast<std::int16_t>(std::abs(left - corner));
        const auto toCorner = static_cast<std::int16_t>(std::abs(left + up - 2 * corner));
        const std::int16_t upOrCorner = toUp <= toCorner ? up : corner;
        const std::int16_t nearest = toLeft <= toUp && toLeft <= toCorner ? left : upOrCorner;
        out[i] = static_cast<unsigned char>(row[i + pixelBytes] - nearest);
    }
}

} // namespace

std::int64_t PngPieceRows(ImageSize size)
{
    constexpr std::int64_t pieceBytes = 1 << 18;
    return std::clamp<std::int64_t>(pieceBytes / (size.width * 6), 1, size.height);
}

PngPieceEncoder::PngPieceEncoder(ImageSize size, bool isPacked) : size_(size), isPacked_(isPacked)
{
}

void PngPieceEncoder::Encode(const PngRows& rows, PngPiece& piece)
{
    Filter(rows);
    const bool isLast = rows.first + rows.count == size_.height;
    if (isPacked_) {
        deflater_.MakePiece(filtered_, isLast, piece.bytes);
    } else {
        Store(isLast, piece.bytes);
    }
    piece.length = filtered_.size();
    piece.checksum = Deflater::Adler32(1, filtered_);
}

void PngPieceEncoder::Filter(const PngRows& rows)
{
    const auto samples = static_cast<std::size_t>(size_.width * 3);
    const std::size_t rowBytes = samples * 2;
    filtered_.resize(static_cast<std::size_t>(rows.count) * (rowBytes + 1));
    row_.assign(pixelBytes + rowBytes, 0);
    above_.assign(pixelBytes + rowBytes, 0);
    if (rows.above != nullptr) {
        ToFileOrder(rows.above, samples, above_.data() + pixelBytes);
    }
    unsigned char* out = filtered_.data();
    for (std::int64_t i = 0; i < rows.count; ++i) {
        ToFileOrder(rows.codes + static_cast<std::size_t>(i) * samples, samples,
                    row_.data() + pixelBytes);
        *out++ = isPacked_ ? Paeth : None;
        if (isPacked_) {
            FilterByPaeth(row_.data(), above_.data(), rowBytes, out);
            row_.swap(above_);
        } else {
            std::copy_n(row_.data() + pixelBytes, rowBytes, out);
        }
        out += rowBytes;
    }
}

// RFC 1951, 3.2.4: blocks of a length, its complement and as many bytes.
void PngPieceEncoder::Store(bool isLast, std::vector<unsigned char>& out) const
{
    constexpr std::size_t most = 65535;
    out.clear();
    for (std::size_t first = 0; first < filtered_.size(); first += most) {
        const std::size_t count = std::min(most, filtered_.size() - first);
        const auto low = static_cast<unsigned char>(count);
        const auto high = static_cast<unsigned char>(count >> 8);
        const bool ends = isLast && first + count == filtered_.size();
        out.insert(out.end(),
                   {static_cast<unsigned char>(ends ? 1 : 0), low, high,
                    static_cast<unsigned char>(~low), static_cast<unsigned char>(~high)});
        out.insert(out.end(), filtered_.data() + first, filtered_.data() + first + count);
    }
}

} // namespace qva
