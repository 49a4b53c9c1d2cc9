// The row interface that every format of rendered pages stands behind.
#pragma once

#include "picture/rendered_for.h"
#include "picture/source_description.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace qva {

class DeviceOutput;

enum class Compression { None, Lzw, Deflate };

/// How a page is written.
struct WriteSettings {
    Compression compression = Compression::Deflate;
    double dpi = 0.0;                            ///< pixels per inch; 0: not stated
    double bleed = 0.0;                          ///< inches on each side that are cut away
    Metadata metadata = {};                      ///< written as it is
    std::optional<RenderedFor> renderedFor = {}; ///< stated where given
    std::shared_ptr<const DeviceOutput> device =
        {}; ///< device values are written in place of codes
};

/// A rendered page written row by row, with the profile of RenderedProfile. A format is one class
/// and one file. Failures are thrown as Failure.
class RowWriter {
public:
    virtual ~RowWriter() = default;

    /// Takes the next rows.
    virtual void Write(const std::uint16_t* codes, std::int64_t count) = 0;

    /// Rows that are best written in one call; others are gathered first.
    virtual std::int64_t RowsAtOnce() const = 0;

    /// Completes the file; every row must have come.
    virtual void Finish() = 0;
};

} // namespace qva
