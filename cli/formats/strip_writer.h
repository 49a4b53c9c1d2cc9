// Writes a rendered TIFF from encoded strips.
#pragma once

#include "formats/tiff_strips.h"
#include "picture/exif_copy.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct tiff;

namespace qva {

/// Writes encoded strips one after the other and the directory behind them. The same strips make
/// the same bytes, whoever encoded them.
class StripWriter {
public:
    /// @param descriptor  of an empty file, or of one that strips were written to; stays the
    ///                    caller's and must outlive this.
    /// @param name        for messages.
    StripWriter(int descriptor, const std::string& name, const TiffPage& page);
    ~StripWriter();

    /// Takes over a strip that lies in the file already, behind those before it.
    void Keep(std::uint64_t size);

    /// @throws Failure, on a full disk for example.
    void Append(const EncodedStrip& strip);

    /// Where the next strip begins, in bytes.
    std::int64_t End() const;

    /// @param description  text for programs; none where empty.
    void Finish(const std::string& description = {});

private:
    struct File;
    void Write(const void* bytes, std::size_t count);
    void AppendDirectory(std::uint32_t tag, const std::vector<NewEntry>& entries);

    std::unique_ptr<File> file_;
    std::unique_ptr<tiff, void (*)(tiff*)> tiff_;
    std::int64_t next_ = 0;
    ExifDirectories exif_;
    bool isBig_ = false; ///< places have 8 bytes
};

} // namespace qva
