#include "formats/pdf_page.h"

#include "base/markup.h"
#include "formats/pdf_file.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <string_view>

namespace qva {

namespace {

// ISO 32000-1, annex C: the longest side of a page, in units.
constexpr double longestPage = 14400.0;
constexpr double pointsPerInch = 72.0;

/// ICC.1, table 17: the data colour space stands at byte 16 of a profile.
std::string_view SpaceOf(const DeviceOutput& device)
{
    return {reinterpret_cast<const char*>(device.Profile().data()) + 16, 4};
}

const char* PlainSpace(const DeviceOutput& device)
{
    return device.IsCmyk() ? "/DeviceCMYK" : device.Channels() == 1 ? "/DeviceGray" : "/DeviceRGB";
}

/// A page in units of its own.
struct PageMeasure {
    PageMeasure(ImageSize size, double dpi)
        : pointsPerUnit(
              std::max(1.0, std::ceil(static_cast<double>(std::max(size.width, size.height)) *
                                      pointsPerInch / dpi / longestPage))),
          width(static_cast<double>(size.width) * pointsPerInch / dpi / pointsPerUnit),
          height(static_cast<double>(size.height) * pointsPerInch / dpi / pointsPerUnit)
    {
    }

    double pointsPerUnit;
    double width;
    double height;
};

} // namespace

bool HasPdfSpace(const DeviceOutput& device)
{
    const std::string_view space = SpaceOf(device);
    return space == "RGB " || space == "CMYK" || space == "GRAY";
}

std::string PdfProfileEntries(const DeviceOutput& device)
{
    return fmt::format("/N {} /Alternate {} /Filter /FlateDecode", device.Channels(),
                       PlainSpace(device));
}

std::string PdfImageEntries(ImageSize size, const WriteSettings& settings, int profile,
                            int metadata)
{
    const DeviceOutput& device = *settings.device;
    std::string entries =
        fmt::format("/Type /XObject /Subtype /Image /Width {} /Height {} /ColorSpace [/ICCBased {} "
                    "0 R] /BitsPerComponent {} /Interpolate false",
                    size.width, size.height, profile, device.Bits());
    if (settings.compression != Compression::None) {
        // The filters of PNG: not every reader knows those of TIFF for 16 bits.
        entries += fmt::format(" /Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors {} "
                               "/BitsPerComponent {} /Columns {} >>",
                               device.Channels(), device.Bits(), size.width);
    }
    if (metadata != 0) {
        entries += fmt::format(" /Metadata {} 0 R", metadata);
    }
    return entries;
}

std::string PdfPageEntries(ImageSize size, double dpi, double bleed)
{
    const PageMeasure page(size, dpi);
    const double cut = bleed * pointsPerInch / page.pointsPerUnit;
    const std::string box = fmt::format("[0 0 {:.4f} {:.4f}]", page.width, page.height);
    std::string entries =
        fmt::format("/MediaBox {} /BleedBox {} /TrimBox [{:.4f} {:.4f} {:.4f} {:.4f}]", box, box,
                    cut, cut, page.width - cut, page.height - cut);
    if (page.pointsPerUnit > 1.0) {
        entries += fmt::format(" /UserUnit {}", page.pointsPerUnit);
    }
    return entries;
}

std::string PdfDrawing(ImageSize size, double dpi, const std::string& image)
{
    const PageMeasure page(size, dpi);
    return fmt::format("q {:.4f} 0 0 {:.4f} 0 0 cm /{} Do Q\n", page.width, page.height, image);
}

std::string PdfIntentEntries(const DeviceOutput& device, int profile)
{
    const std::string name = PdfText(device.Description());
    return fmt::format("/Type /OutputIntent /S /GTS_PDFX /OutputConditionIdentifier (Custom) "
                       "/OutputCondition {} /Info {} /DestOutputProfile {} 0 R",
                       name, name, profile);
}

std::string PdfPacket(const std::string& title, const std::string& program,
                      const std::string& digest)
{
    const std::string uuid =
        fmt::format("uuid:{}-{}-{}-{}-{}", digest.substr(0, 8), digest.substr(8, 4),
                    digest.substr(12, 4), digest.substr(16, 4), digest.substr(20));
    return fmt::format(
        "<?xpacket begin=\"\xef\xbb\xbf\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
        "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
        "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
        "<rdf:Description rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\"\n"
        " xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\"\n"
        " xmlns:xmpMM=\"http://ns.adobe.com/xap/1.0/mm/\">\n"
        "<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">{}</rdf:li></rdf:Alt></dc:title>\n"
        "<xmp:CreatorTool>{}</xmp:CreatorTool>\n"
        "<pdf:Producer>{}</pdf:Producer>\n"
        "<pdf:Trapped>False</pdf:Trapped>\n"
        "<xmpMM:DocumentID>{}</xmpMM:DocumentID>\n"
        "<xmpMM:VersionID>1</xmpMM:VersionID>\n"
        "<xmpMM:RenditionClass>default</xmpMM:RenditionClass>\n"
        "</rdf:Description>\n</rdf:RDF>\n</x:xmpmeta>\n<?xpacket end=\"r\"?>\n",
        EscapeMarkup(title), EscapeMarkup(program), EscapeMarkup(program), uuid);
}

} // namespace qva
