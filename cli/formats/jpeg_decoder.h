// One JPEG stream of a file, decoded row by row.
#pragma once

#include "picture/source_description.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qva {

/// Decodes grey, YCbCr and RGB of 8 bits to the same or R, G, B. Failures are thrown as Failure and
/// name the file.
class JpegDecoder {
public:
    JpegDecoder();
    ~JpegDecoder();

    /// Reads what stands before the pixels and takes the memory that decoding them needs.
    /// @param start  where the stream begins in the file.
    /// @throws Failure for what is no JPEG stream, is larger than the limits, is CMYK or YCCK.
    void Open(const std::string& path, std::int64_t start, const SizeLimits& limits);

    ImageSize Size() const;

    /// 1 or 3.
    int Channels() const;

    /// Bytes that decoding takes beside some rows: all coefficients, where the picture comes in
    /// several scans.
    std::uint64_t DecodeBytes() const;

    /// Pixels per inch of a JFIF header; 0 where not stated, or not the same both ways.
    double Dpi() const;

    /// Decodes the next row: width * channels codes.
    void ReadRow(unsigned char* codes);

    void Close();

private:
    struct Engine;
    template <typename Body>
    void Guard(const Body& body);
    void ReadHeader(const SizeLimits& limits);
    void CheckColours() const;

    std::string path_;
    std::unique_ptr<Engine> engine_;
    std::uint64_t decodeBytes_ = 0;
};

} // namespace qva
