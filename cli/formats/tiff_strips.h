// Rendered TIFF by strips: encoded apart from the file, so that cores share the work and finished
// strips can be copied from file to file.
#pragma once

#include "formats/image_writer.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct tiff;

namespace qva {

/// Lines of pixels in strips of a fixed number of lines, but for the last.
struct StripLayout {
    std::int64_t lineLength = 0; ///< pixels
    std::int64_t lines = 0;
    std::int64_t stripLines = 0;

    std::int64_t Strips() const { return (lines + stripLines - 1) / stripLines; }
    std::int64_t LinesIn(std::int64_t strip) const;
    /// In bytes, before compression.
    std::size_t SizeOf(std::int64_t strip) const;
};

/// Lines of a strip of about a quarter of a megabyte.
std::int64_t StripLines(std::int64_t lineLength, std::int64_t lines);

/// Everything that makes a TIFF of rendered codes but its pixels.
struct TiffPage {
    StripLayout layout;
    WriteSettings settings;
    std::vector<unsigned char> profile; ///< none where empty
    int orientation = 1;                ///< 1, or 5 where lines are the columns of the page
    std::string description;            ///< text for programs; none where empty
};

/// Lines of a strip of about a quarter of a megabyte.
std::int64_t StripLines(std::int64_t lineLength, std::int64_t lines);

using EncodedStrip = std::vector<unsigned char>;

/// The bytes that strips have in the file.
/// @param codes  of the strips first ... first + count - 1, packed.
std::vector<EncodedStrip> EncodeStrips(const TiffPage& page, std::int64_t first, std::int64_t count,
                                       const std::uint16_t* codes);

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

    /// CRC-32 of bytes that follow others.
    static std::uint32_t Checksum(std::uint32_t before, const EncodedStrip& strip);

private:
    struct File;
    void Write(const void* bytes, std::size_t count);

    std::unique_ptr<File> file_;
    std::unique_ptr<tiff, void (*)(tiff*)> tiff_;
    std::int64_t next_ = 0;
};

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
