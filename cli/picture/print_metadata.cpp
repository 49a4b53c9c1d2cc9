#include "picture/print_metadata.h"

#include "picture/exif_copy.h"
#include "picture/iptc_copy.h"
#include "picture/xmp_copy.h"

#include <fmt/format.h>

namespace qva {

namespace {

std::span<const unsigned char> WithinLimit(const std::vector<unsigned char>& bytes)
{
    return bytes.size() <= mostMetadata ? std::span(bytes) : std::span<const unsigned char>();
}

std::string Joined(const std::string& text, const std::string& more)
{
    return text + (text.empty() || more.empty() ? "" : ", ") + more;
}

std::string Counted(std::size_t count, const char* one, const char* many)
{
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

/// Words for what is found and for what is left out.
class Telling {
public:
    void Found(const char* kind, const std::string& count)
    {
        found_ = Joined(found_, fmt::format("{} ({})", kind, count));
    }
    void LeftOut(const std::string& what) { leftOut_ = Joined(leftOut_, what); }
    void OfFile(const char* kind, std::size_t count)
    {
        ofFile_ = Joined(ofFile_, count > 0 ? fmt::format("{} of {}", count, kind) : "");
    }
    void TooLong(const std::vector<unsigned char>& bytes, const char* kind)
    {
        if (bytes.size() > mostMetadata) {
            LeftOut(fmt::format("{} of {} bytes", kind, bytes.size()));
        }
    }

    std::vector<Finding> Findings() const
    {
        std::vector<Finding> findings;
        if (!found_.empty()) {
            findings.push_back({"metadata", found_});
        }
        const std::string leftOut =
            Joined(leftOut_, ofFile_.empty() ? "" : "true of the file alone: " + ofFile_);
        if (!leftOut.empty()) {
            findings.push_back({"left out", leftOut});
        }
        return findings;
    }

private:
    std::string found_;
    std::string leftOut_;
    std::string ofFile_; ///< numbers of entries
};

void TellExif(const Metadata& metadata, Telling& telling)
{
    telling.TooLong(metadata.exif, "Exif");
    ExifLeftOut leftOut;
    const std::size_t entries = CopyExif(WithinLimit(metadata.exif), &leftOut).Entries();
    if (entries > 0) {
        telling.Found("Exif", Counted(entries, "entry", "entries"));
    }
    if (leftOut.makerNote) {
        telling.LeftOut("maker note");
    }
    if (leftOut.thumbnail) {
        telling.LeftOut("thumbnail");
    }
    telling.OfFile("Exif", leftOut.entries);
}

bool IsTurned(const SourceDescription& source)
{
    return source.orientation != 1;
}

void TellXmp(const SourceDescription& source, Telling& telling)
{
    telling.TooLong(source.metadata.xmp, "XMP");
    const XmpCopy xmp = CopyXmp(WithinLimit(source.metadata.xmp), IsTurned(source));
    if (xmp.kept > 0) {
        telling.Found("XMP", Counted(xmp.kept, "property", "properties"));
    }
    telling.OfFile("XMP", xmp.leftOut);
    if (xmp.isDamaged) {
        telling.LeftOut("damaged XMP");
    }
}

void TellIptc(const Metadata& metadata, Telling& telling)
{
    telling.TooLong(metadata.iptc, "IPTC");
    const IptcCopy iptc = CopyIptc(WithinLimit(metadata.iptc));
    if (iptc.kept > 0) {
        telling.Found("IPTC", Counted(iptc.kept, "dataset", "datasets"));
    }
    telling.OfFile("IPTC", iptc.leftOut);
}

} // namespace

Metadata MetadataForPrint(const SourceDescription& source)
{
    const Metadata& metadata = source.metadata;
    return {WriteExif(CopyExif(WithinLimit(metadata.exif))),
            CopyXmp(WithinLimit(metadata.xmp), IsTurned(source)).packet,
            CopyIptc(WithinLimit(metadata.iptc)).datasets};
}

std::vector<Finding> MetadataFindings(const SourceDescription& source)
{
    Telling telling;
    TellExif(source.metadata, telling);
    TellXmp(source, telling);
    TellIptc(source.metadata, telling);
    return telling.Findings();
}

} // namespace qva
