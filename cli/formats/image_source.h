// The row interface that every picture format stands behind.
#pragma once

#include "picture/source_description.h"

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
    /// @param limits  a larger picture is refused before memory is taken for it.
    virtual void Open(const std::string& path, const SizeLimits& limits) = 0;

    /// The stored size; valid between Open and Close, as Describe.
    virtual ImageSize Size() const = 0;

    virtual const SourceDescription& Describe() const = 0;

    /// Reads the next rows in stored order as interleaved R, G, B.
    /// Integer samples keep their codes (0 ... 255 or 0 ... 65535), floating-point samples their
    /// values, not-a-number and infinity included. Alpha is left out, grey is repeated.
    /// @param count  1 ... rows left.
    /// @param rgb    count * width * 3 values.
    virtual void ReadRows(std::int64_t count, float* rgb) = 0;

    /// What ReadSamples delivers; not at all for Floats.
    virtual SampleKind Samples() const
    {
        return Describe().isFloat ? SampleKind::Floats : SampleKind::Codes;
    }

    /// Reads the next rows as ReadRows does, in 16 bits a sample.
    /// @param samples  count * width * 3 codes, or the bits of half-floats.
    virtual void ReadSamples(std::int64_t count, std::uint16_t* samples);

    /// Passes over the next rows.
    /// @param count  0 ... rows left.
    virtual void SkipRows(std::int64_t count);

    virtual void Close() = 0;
};

/// Opens a picture by the first bytes of its content; its name does not matter.
/// @throws Failure where the file cannot be read, is of another format or is damaged.
std::unique_ptr<ImageSource> OpenImage(const std::string& path, const SizeLimits& limits);

/// Sets how many threads a reader that can share its work may use; 0 reads on the caller's.
void SetReaderThreads(int threads);

/// Pixels per inch as a description holds them: to two places, 0 for what cannot be meant.
double ResolutionOf(double dpi);

/// @throws Failure for a side outside 1 ... limits.side, or more than limits.pixels pixels.
void CheckSize(const std::string& path, ImageSize size, const SizeLimits& limits);

/// Rows that make a block of a sensible size to read and convert at once, at least 1.
std::int64_t RowsPerBlock(ImageSize size);

} // namespace qva
