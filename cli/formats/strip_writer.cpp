#include "formats/strip_writer.h"

#include "base/errors.h"
#include "formats/strip_encoder.h"
#include "formats/tiff_messages.h"

#include <algorithm>
#include <cerrno>
#include <tiffio.h>
#include <unistd.h>
#include <vector>

namespace qva {

namespace {

bool SetText(TIFF* tiff, const TiffPage& page)
{
    bool done =
        TIFFSetField(tiff, TIFFTAG_SOFTWARE, SoftwareText(page.settings.renderedFor).c_str()) == 1;
    if (!page.profile.empty()) {
        done = done && TIFFSetField(tiff, TIFFTAG_ICCPROFILE,
                                    static_cast<std::uint32_t>(page.profile.size()),
                                    page.profile.data()) == 1;
    }
    if (page.settings.dpi > 0.0) {
        done = done && TIFFSetField(tiff, TIFFTAG_XRESOLUTION, page.settings.dpi) == 1 &&
               TIFFSetField(tiff, TIFFTAG_YRESOLUTION, page.settings.dpi) == 1 &&
               TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) == 1;
    }
    return done;
}

bool SetXmp(TIFF* tiff, const std::vector<unsigned char>& xmp)
{
    return xmp.empty() || TIFFSetField(tiff, TIFFTAG_XMLPACKET,
                                       static_cast<std::uint32_t>(xmp.size()), xmp.data()) == 1;
}

/// The library knows the tag as bytes or as numbers of four, by its version.
bool SetIptc(TIFF* tiff, const std::vector<unsigned char>& iptc)
{
    if (iptc.empty()) {
        return true;
    }
    const TIFFField* field = TIFFFieldWithTag(tiff, TIFFTAG_RICHTIFFIPTC);
    const auto unit = static_cast<std::size_t>(TIFFDataWidth(TIFFFieldDataType(field)));
    std::vector<unsigned char> values = iptc;
    values.resize((iptc.size() + unit - 1) / unit * unit);
    return TIFFSetField(tiff, TIFFTAG_RICHTIFFIPTC,
                        static_cast<std::uint32_t>(values.size() / unit), values.data()) == 1;
}

/// Entries of the main directory; all that are kept are texts.
bool SetDescriptions(TIFF* tiff, const std::vector<NewEntry>& entries)
{
    constexpr std::uint16_t ascii = 2;
    return std::all_of(entries.begin(), entries.end(), [tiff](const NewEntry& entry) {
        const std::string text(entry.values.begin(), entry.values.end());
        return entry.type != ascii || TIFFSetField(tiff, entry.tag, text.c_str()) == 1;
    });
}

} // namespace

/// The file below a StripWriter. What is kept is not written again.
struct StripWriter::File {
    int descriptor;
    std::string name;
    std::string message;
    int error = 0;
    bool keeping = false;
    toff_t position = 0;
    toff_t size = 0;

    static File& Of(thandle_t handle) { return *reinterpret_cast<File*>(handle); }

    static tmsize_t NoRead(thandle_t, void*, tmsize_t) { return -1; }

    static tmsize_t Write(thandle_t handle, void* data, tmsize_t count)
    {
        File& file = Of(handle);
        const char* from = static_cast<const char*>(data);
        for (tmsize_t left = file.keeping ? 0 : count; left > 0;) {
            const ssize_t done = pwrite(file.descriptor, from, static_cast<std::size_t>(left),
                                        static_cast<off_t>(file.position) + (count - left));
            if (done < 0 && errno == EINTR) {
                continue;
            }
            if (done <= 0) {
                file.error = done < 0 ? errno : EIO;
                return -1;
            }
            from += done;
            left -= done;
        }
        file.position += static_cast<toff_t>(count);
        file.size = std::max(file.size, file.position);
        return count;
    }

    static toff_t Seek(thandle_t handle, toff_t offset, int origin)
    {
        File& file = Of(handle);
        file.position = offset + (origin == SEEK_END   ? file.size
                                  : origin == SEEK_CUR ? file.position
                                                       : 0);
        return file.position;
    }

    static toff_t Size(thandle_t handle) { return Of(handle).size; }

    static int NoClose(thandle_t) { return 0; }

    [[noreturn]] void Fail() const
    {
        // The system knows the reason better than the library: it says "no space left on device".
        throw Failure(name, error != 0 ? WriteReason(error) : "cannot be written: " + message,
                      exitOutput);
    }
};

StripWriter::StripWriter(int descriptor, const std::string& name, const TiffPage& page)
    : file_(std::make_unique<File>()),
      tiff_(nullptr, TIFFCleanup),
      exif_(CopyExif(page.settings.metadata.exif))
{
    file_->descriptor = descriptor;
    file_->name = name;
    // Classic TIFF ends at 4 GiB. What compression saves cannot be known before, and LZW makes
    // noise half as long again.
    const std::int64_t classicLimit =
        page.settings.compression == Compression::Lzw ? 2800000000 : 4000000000;
    isBig_ = page.layout.lines * page.layout.lineLength * 6 > classicLimit;
    const auto options = MakeTiffOptions(file_->message);
    tiff_.reset(TIFFClientOpenExt(
        name.c_str(), isBig_ ? "w8" : "w", reinterpret_cast<thandle_t>(file_.get()), File::NoRead,
        File::Write, File::Seek, File::NoClose, File::Size, nullptr, nullptr, options.get()));
    if (!tiff_ || !SetStripTags(tiff_.get(), page, page.layout.lines) ||
        !SetText(tiff_.get(), page) || !SetDescriptions(tiff_.get(), exif_.main) ||
        !SetXmp(tiff_.get(), page.settings.metadata.xmp) ||
        !SetIptc(tiff_.get(), page.settings.metadata.iptc))
    {
        file_->Fail();
    }
}

// Without the flush of a close: an unfinished file has no use for a directory.
StripWriter::~StripWriter()
{
    file_->keeping = true;
}

void StripWriter::Write(const void* bytes, std::size_t count)
{
    if (TIFFWriteRawStrip(tiff_.get(), static_cast<std::uint32_t>(next_), const_cast<void*>(bytes),
                          static_cast<tmsize_t>(count)) < 0)
    {
        file_->Fail();
    }
    ++next_;
}

void StripWriter::Keep(std::uint64_t size)
{
    const std::vector<unsigned char> unseen(size);
    file_->keeping = true;
    Write(unseen.data(), unseen.size());
    file_->keeping = false;
}

void StripWriter::Append(const EncodedStrip& strip)
{
    Write(strip.data(), strip.size());
}

std::int64_t StripWriter::End() const
{
    return static_cast<std::int64_t>(file_->size);
}

/// Writes a directory behind everything else, and its place into the main one.
void StripWriter::AppendDirectory(std::uint32_t tag, const std::vector<NewEntry>& entries)
{
    if (entries.empty()) {
        return;
    }
    const auto handle = reinterpret_cast<thandle_t>(file_.get());
    const toff_t place = (file_->size + 1) & ~toff_t{1};
    std::vector<unsigned char> bytes = WriteDirectory(entries, place, isBig_);
    File::Seek(handle, place, SEEK_SET);
    if (File::Write(handle, bytes.data(), static_cast<tmsize_t>(bytes.size())) < 0 ||
        TIFFSetField(tiff_.get(), tag, std::uint64_t{place}) != 1)
    {
        file_->Fail();
    }
}

void StripWriter::Finish(const std::string& description)
{
    AppendDirectory(TIFFTAG_EXIFIFD, exif_.exif);
    AppendDirectory(TIFFTAG_GPSIFD, exif_.gps);
    if ((!description.empty() &&
         TIFFSetField(tiff_.get(), TIFFTAG_IMAGEDESCRIPTION, description.c_str()) != 1) ||
        TIFFWriteDirectory(tiff_.get()) != 1 || TIFFFlush(tiff_.get()) != 1)
    {
        file_->Fail();
    }
}

} // namespace qva
