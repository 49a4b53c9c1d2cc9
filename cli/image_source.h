// The row interface that every picture format stands behind.
#pragma once

#include "source_description.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qva {

/// A picture file read from its first stored row to its last. A format is one class and one file.
///
/// Failures are thrown as Failure and name the file. An object is used by one thread.
class ImageSource {
public:
    virtual ~ImageSource() = default;

    /// Opens the file and reads what stands before the pixels. Opening again starts over.
    /// @param maxPixels  a picture with more pixels is refused before memory is taken for it.
    virtual void Open(const std::string& path, std::uint64_t maxPixels) = 0;

    /// The stored size; valid between Open and Close, as Describe.
    virtual ImageSize Size() const = 0;

    virtual const SourceDescription& Describe() const = 0;

    /// Reads the next rows in stored order as interleaved R, G, B.
    /// Integer samples keep their codes (0 ... 255 or 0 ... 65535), floating-point samples their
    /// values, not-a-number and infinity included. Alpha is left out, grey is repeated.
    /// @param count  1 ... rows left.
    /// @param rgb    count * width * 3 values.
    virtual void ReadRows(std::int64_t count, float* rgb) = 0;

    /// Passes over the next rows.
    /// @param count  0 ... rows left.
    virtual void SkipRows(std::int64_t count);

    virtual void Close() = 0;
};

std::unique_ptr<ImageSource> MakeExrSource();
std::unique_ptr<ImageSource> MakeHdrSource();
std::unique_ptr<ImageSource> MakePngSource();
std::unique_ptr<ImageSource> MakeTiffSource();

/// Opens a picture by the first bytes of its content; its name does not matter.
/// @throws Failure where the file cannot be read, is of another format or is damaged.
std::unique_ptr<ImageSource> OpenImage(const std::string& path, std::uint64_t maxPixels);

/// Sets how many threads a reader that can share its work may use; 0 reads on the caller's.
void SetReaderThreads(int threads);

/// The longest side that is read: a row of it takes 50 MB as floats.
constexpr std::int64_t longestSide = 1 << 22;

/// @throws Failure for a side outside 1 ... longestSide, or more than maxPixels pixels.
void CheckSize(const std::string& path, ImageSize size, std::uint64_t maxPixels);

/// Rows that make a block of a sensible size to read and convert at once, at least 1.
std::int64_t RowsPerBlock(ImageSize size);

} // namespace qva
