#include "formats/coded_header.h"

#include <vector>

namespace qva {

namespace {

bool Agree(const CodedHeader& first, const CodedHeader& second)
{
    return first.kept.width == second.kept.width && first.kept.height == second.kept.height &&
           first.bits == second.bits;
}

/// Keeps the first header and refuses a second one of another size: a decoder would follow it.
void Keep(std::optional<CodedHeader>& kept, const CodedHeader& found)
{
    if (kept && !Agree(*kept, found)) {
        throw std::out_of_range("header");
    }
    kept = kept ? kept : found;
}

CodedHeader Only(const std::optional<CodedHeader>& kept)
{
    if (!kept) {
        throw std::out_of_range("header");
    }
    return *kept;
}

// AV1 bit stream syntax, 5.5.4 and 5.5.5; what follows is named there.
void PassOperatingPoints(BitReader& bits)
{
    int delayBits = 0;
    if (bits.Flag()) { // timing_info_present_flag
        bits.Skip(64);
        if (bits.Flag()) {
            bits.Golomb();
        }
        if (bits.Flag()) { // decoder_model_info_present_flag
            delayBits = static_cast<int>(bits.Number(5)) + 1;
            bits.Skip(42);
        }
    }
    const bool hasDisplayDelay = bits.Flag();
    const std::uint32_t points = bits.Number(5) + 1;
    for (std::uint32_t i = 0; i < points; ++i) {
        bits.Skip(12);
        if (bits.Number(5) > 7) { // seq_level_idx
            bits.Skip(1);
        }
        if (delayBits > 0 && bits.Flag()) {
            bits.Skip(2 * delayBits + 1);
        }
        if (hasDisplayDelay && bits.Flag()) {
            bits.Skip(4);
        }
    }
}

void PassTools(BitReader& bits)
{
    bits.Skip(4);
    const bool hasOrderHint = bits.Flag();
    bits.Skip(hasOrderHint ? 2 : 0);
    const bool choosesScreenTools = bits.Flag();
    const bool screenTools = choosesScreenTools || bits.Flag();
    if (screenTools && !bits.Flag()) { // seq_choose_integer_mv
        bits.Skip(1);
    }
    bits.Skip(hasOrderHint ? 3 : 0);
}

void ReadAv1Subsampling(BitReader& bits, std::uint32_t profile, CodedHeader& header)
{
    ChromaLayout& chroma = header.chroma;
    chroma.shiftX = profile == 1 ? 0 : 1;
    chroma.shiftY = profile == 0 ? 1 : 0;
    if (profile == 2 && header.bits == 12) {
        chroma.shiftX = static_cast<int>(bits.Number(1));
        chroma.shiftY = chroma.shiftX != 0 ? static_cast<int>(bits.Number(1)) : 0;
    }
    if (chroma.shiftX != 0 && chroma.shiftY != 0) {
        const std::uint32_t position = bits.Number(2); // chroma_sample_position
        chroma.sitedX = position == 1 || position == 2;
        chroma.sitedY = position == 2;
    }
}

void ReadAv1Colour(BitReader& bits, std::uint32_t profile, CodedHeader& header)
{
    const bool isDeep = bits.Flag();
    header.bits = isDeep ? (profile == 2 && bits.Flag() ? 12 : 10) : 8;
    header.chroma.isGrey = profile != 1 && bits.Flag();
    CodePoints points{2, 2, 2, false};
    const bool isDescribed = bits.Flag();
    if (isDescribed) {
        points.primaries = static_cast<int>(bits.Number(8));
        points.transfer = static_cast<int>(bits.Number(8));
        points.matrix = static_cast<int>(bits.Number(8));
    }
    const bool isSrgb = points.primaries == 1 && points.transfer == 13 && points.matrix == 0;
    if (isSrgb && !header.chroma.isGrey) {
        points.fullRange = true; // and 4:4:4, as the layout is by default
    } else {
        points.fullRange = bits.Flag();
        if (!header.chroma.isGrey) {
            ReadAv1Subsampling(bits, profile, header);
        }
    }
    header.points = points;
}

CodedHeader ReadAv1Sequence(Bytes payload)
{
    BitReader bits(payload);
    CodedHeader header;
    const std::uint32_t profile = bits.Number(3);
    bits.Skip(1);
    const bool isReduced = bits.Flag();
    if (isReduced) {
        bits.Skip(5);
    } else {
        PassOperatingPoints(bits);
    }
    const int widthBits = static_cast<int>(bits.Number(4)) + 1;
    const int heightBits = static_cast<int>(bits.Number(4)) + 1;
    header.size.width = std::int64_t{bits.Number(widthBits)} + 1;
    header.size.height = std::int64_t{bits.Number(heightBits)} + 1;
    header.kept = header.size;
    if (!isReduced && bits.Flag()) { // frame_id_numbers_present_flag
        bits.Skip(7);
    }
    bits.Skip(3);
    if (!isReduced) {
        PassTools(bits);
    }
    bits.Skip(3);
    ReadAv1Colour(bits, profile, header);
    return header;
}

std::uint64_t ReadLeb128(ByteReader& reader)
{
    std::uint64_t number = 0;
    for (int i = 0; i < 8; ++i) {
        const std::uint64_t byte = reader.Number(1);
        number |= (byte & 0x7f) << (7 * i);
        if (byte < 0x80) {
            break;
        }
    }
    return number;
}

std::vector<unsigned char> WithoutStuffing(Bytes unit)
{
    std::vector<unsigned char> bytes;
    int zeros = 0;
    for (const unsigned char byte : unit) {
        const bool isStuffed = zeros >= 2 && byte == 3;
        zeros = byte == 0 ? zeros + 1 : 0;
        if (!isStuffed) {
            bytes.push_back(byte);
        }
    }
    return bytes;
}

// ITU-T H.265, 7.3.3.
void PassProfileAndLevel(BitReader& bits, std::uint32_t subLayers)
{
    bits.Skip(88 + 8);
    std::uint32_t present = 0;
    for (std::uint32_t i = 0; i < (subLayers > 0 ? 8 : 0); ++i) {
        present = present << 2 | bits.Number(2);
    }
    for (std::uint32_t i = 0; i < subLayers; ++i, present <<= 2) {
        bits.Skip((present & 0x8000) != 0 ? 88 : 0);
        bits.Skip((present & 0x4000) != 0 ? 8 : 0);
    }
}

CodedHeader ReadHevcSequence(Bytes unit)
{
    const std::vector<unsigned char> bytes = WithoutStuffing(unit);
    BitReader bits(bytes);
    CodedHeader header;
    bits.Skip(16 + 4);
    const std::uint32_t subLayers = bits.Number(3);
    bits.Skip(1);
    PassProfileAndLevel(bits, subLayers);
    bits.Golomb();
    const std::uint32_t format = bits.Golomb();
    bits.Skip(format == 3 ? 1 : 0);
    header.chroma.isGrey = format == 0;
    header.chroma.shiftX = format == 1 || format == 2 ? 1 : 0;
    header.chroma.shiftY = format == 1 ? 1 : 0;
    header.kept.width = bits.Golomb();
    header.kept.height = bits.Golomb();
    header.size = header.kept;
    if (bits.Flag()) { // conformance_window_flag
        for (std::int64_t* side : {&header.size.width, &header.size.height}) {
            const bool isWidth = side == &header.size.width;
            const int shift = isWidth ? header.chroma.shiftX : header.chroma.shiftY;
            *side -= (std::int64_t{bits.Golomb()} << shift);
            *side -= (std::int64_t{bits.Golomb()} << shift);
        }
    }
    header.bits = static_cast<int>(bits.Golomb()) + 8;
    return header;
}

// ITU-T H.265, table 7-1.
bool IsSequence(Bytes unit)
{
    return unit.size() > 2 && (unit[0] >> 1 & 63) == 33;
}

} // namespace

CodedHeader ReadAv1Header(Bytes units)
{
    std::optional<CodedHeader> header;
    ByteReader reader(units);
    while (reader.Left() > 0) {
        // AV1 bit stream syntax, 5.3.2.
        const std::uint64_t first = reader.Number(1);
        reader.Number((first & 4) != 0 ? 1 : 0);
        const Bytes payload = reader.Take((first & 2) != 0 ? ReadLeb128(reader) : reader.Left());
        if ((first >> 3 & 15) == 1) {
            Keep(header, ReadAv1Sequence(payload));
        }
    }
    return Only(header);
}

void ForEachHevcUnit(Bytes configuration, Bytes units, const std::function<void(Bytes)>& body)
{
    ByteReader reader(configuration);
    // ISO/IEC 14496-15, 8.3.3.1: the size of a length stands in the 22nd byte.
    reader.Take(21);
    const auto lengthBytes = static_cast<int>(reader.Number(1) & 3) + 1;
    for (std::uint64_t arrays = reader.Number(1); arrays > 0; --arrays) {
        reader.Number(1);
        for (std::uint64_t count = reader.Number(2); count > 0; --count) {
            body(reader.Take(reader.Number(2)));
        }
    }
    ByteReader stream(units);
    while (stream.Left() > 0) {
        body(stream.Take(stream.Number(lengthBytes)));
    }
}

CodedHeader ReadHevcHeader(Bytes configuration, Bytes units)
{
    std::optional<CodedHeader> header;
    ForEachHevcUnit(configuration, units, [&header](Bytes unit) {
        if (IsSequence(unit)) {
            Keep(header, ReadHevcSequence(unit));
        }
    });
    return Only(header);
}

} // namespace qva
