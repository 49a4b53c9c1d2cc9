// Reads the strips of a rendered TIFF.
#pragma once

#include "formats/tiff_strips.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qva {

/// Reads what StripWriter wrote.
class StripReader {
public:
    /// @throws Failure where the file is no TIFF of 16-bit RGB strips.
    explicit StripReader(const std::string& path);
    ~StripReader();
    StripReader(StripReader&&) noexcept;
    StripReader& operator=(StripReader&&) noexcept;

    const TiffPage& Page() const { return page_; }

    /// @throws Failure for a strip that is cut short or damaged.
    EncodedStrip Encoded(std::int64_t strip);
    void Decode(std::int64_t strip, std::uint16_t* codes);

private:
    struct File;
    [[noreturn]] void Fail(const std::string& what) const;

    std::string path_;
    std::uint64_t fileBytes_ = 0;
    std::unique_ptr<File> file_;
    TiffPage page_;
};

} // namespace qva
