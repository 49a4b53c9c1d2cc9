#include "conformance/conformance_case.h"

#include "core/image_scaling.h"
#include "support/file_matcher.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace lumo::test {
namespace {

const std::string folder = LUMO_CONFORMANCE_DIR;
constexpr uint32_t analysisLongSide = 1200;

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

uint32_t ToUnsigned(const std::string& text)
{
    return static_cast<uint32_t>(std::stoul(text));
}

void ReadExtra(const std::string& extra, ConformanceCase& c)
{
    const std::vector<std::string> words = Split(extra, ' ');
    for (size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--band") {
            c.bandSize = ToUnsigned(words[++i]);
        } else if (words[i] == "--columns") {
            c.columns = true;
        } else if (words[i] == "--encoding") {
            const std::vector<std::string> numbers = Split(words[++i], ',');
            c.fullEncoding = true;
            c.encoding.gammaType = c.range.gammaType;
            c.encoding.codeMin = ToUnsigned(numbers[0]);
            c.encoding.luminanceMin = c.range.luminanceMin;
            c.encoding.codeThreshold = ToUnsigned(numbers[1]);
            c.encoding.luminanceThreshold = std::stof(numbers[3]);
            c.encoding.codeMax = ToUnsigned(numbers[2]);
            c.encoding.luminanceMax = c.range.luminanceMax;
        }
    }
}

ConformanceCase ReadCase(const std::string& line)
{
    static const char profile[] = "any bytes: the matcher of the tests does not look at them";
    const std::vector<std::string> f = Split(line, '\t');
    ConformanceCase c;
    c.name = f.at(0);
    c.mode = f.at(1);
    c.input = f.at(2);
    c.width = ToUnsigned(f.at(3));
    c.height = ToUnsigned(f.at(4));
    c.range = {ToUnsigned(f.at(5)), std::stof(f.at(6)), std::stof(f.at(7))};
    c.conditions = {std::stoi(f.at(9)), std::stof(f.at(8)), 1.0, 1.0, profile, 0, 0};
    c.device = f.at(10) != "none";
    c.before = f.at(11);
    ReadExtra(f.at(12), c);
    c.status = ToUnsigned(f.at(13));
    c.expected = f.at(14);
    return c;
}

QVA_IMAGE Describe(std::vector<uint16_t>& pixels, uint32_t width, uint32_t height)
{
    return {width, height, uint64_t{width} * 6, 3, 16, 1, 2, 0, pixels.data()};
}

// The page itself, or a copy reduced to the longest side that an analysis takes.
uint32_t Analyse(QVA_HANDLE handle, const ConformanceCase& c, std::vector<uint16_t> page)
{
    uint32_t width = c.width;
    uint32_t height = c.height;
    const uint32_t longest = std::max(width, height);
    if (longest > analysisLongSide) {
        width = c.width * analysisLongSide / longest;
        height = c.height * analysisLongSide / longest;
        const Matrix full(static_cast<int32_t>(c.height), static_cast<int32_t>(c.width),
                          uint64_t{c.width} * 3, page.data());
        const int size[2] = {static_cast<int>(height), static_cast<int>(width)};
        Matrix reduced;
        ImageScalingBilinear().Resize(full, reduced, size);
        const auto* codes = static_cast<const uint16_t*>(reduced.data);
        page.assign(codes, codes + uint64_t{width} * height * 3);
    }
    const QVA_IMAGE image = Describe(page, width, height);
    return QVA_Analysis(handle, &image, &c.range, sizeof c.range, &c.conditions);
}

uint32_t ApplyOnce(QVA_HANDLE handle, const ConformanceCase& c, const std::string& mode,
                   std::vector<uint16_t>& source, std::vector<uint16_t>& result)
{
    const QVA_IMAGE src = Describe(source, c.width, c.height);
    const QVA_IMAGE dst = Describe(result, c.width, c.height);
    if (c.fullEncoding) {
        const auto apply = mode == "print" ? QVA_ApplyQVAForPrint : QVA_ApplyQVAForPreview;
        return apply(handle, &dst, &src, &c.encoding, sizeof c.encoding, &c.conditions);
    }
    const auto apply =
        mode == "print" ? QVA_ApplyQVAForPrint_Wrapper : QVA_ApplyQVAForPreview_Wrapper;
    return apply(handle, &dst, &src, &c.range, sizeof c.range, &c.conditions);
}

// Copies the rectangle from or to the page.
void Exchange(std::vector<uint16_t>& page, uint32_t pageWidth, const QVA_PAGE_AREA& area,
              std::vector<uint16_t>& band, bool toPage)
{
    const size_t length = size_t{area.right - area.left + 1} * 3;
    for (uint32_t y = area.top; y <= area.bottom; ++y) {
        const auto onPage = page.begin() + (static_cast<ptrdiff_t>(y) * pageWidth + area.left) * 3;
        const auto inBand = band.begin() + static_cast<ptrdiff_t>((y - area.top) * length);
        if (toPage) {
            std::copy(inBand, inBand + static_cast<ptrdiff_t>(length), onPage);
        } else {
            std::copy(onPage, onPage + static_cast<ptrdiff_t>(length), inBand);
        }
    }
}

uint32_t CorrectBand(QVA_HANDLE handle, const ConformanceCase& c, const QVA_PAGE_AREA& area,
                     std::vector<uint16_t>& source, std::vector<uint16_t>& result)
{
    const uint32_t width = area.right - area.left + 1;
    const uint32_t height = area.bottom - area.top + 1;
    std::vector<uint16_t> in(size_t{width} * height * 3);
    std::vector<uint16_t> out(in.size());
    Exchange(source, c.width, area, in, false);
    const QVA_IMAGE src = Describe(in, width, height);
    const QVA_IMAGE dst = Describe(out, width, height);
    QVA_BAND_AREA band = {0, 0, width - 1, height - 1, {1, 1, 0, 0}};
    if (c.columns) {
        std::reverse(band.flags, band.flags + 4);
    }
    const uint32_t status = QVA_CorrectionForPrint(handle, &dst, &src, &c.range, sizeof c.range,
                                                   &c.conditions, &band, &area);
    Exchange(result, c.width, area, out, true);
    return status;
}

uint32_t CorrectBands(QVA_HANDLE handle, const ConformanceCase& c, std::vector<uint16_t>& source,
                      std::vector<uint16_t>& result)
{
    uint32_t status = Analyse(handle, c, source);
    const uint32_t length = c.columns ? c.width : c.height;
    for (uint32_t first = 0; status == QVA_OK && first < length; first += c.bandSize) {
        const uint32_t last = std::min(first + c.bandSize, length) - 1;
        QVA_PAGE_AREA area = {0, first, c.width - 1, last, c.width, c.height};
        if (c.columns) {
            area = {first, 0, last, c.height - 1, c.width, c.height};
        }
        status = CorrectBand(handle, c, area, source, result);
    }
    return status;
}

} // namespace

void PrintTo(const ConformanceCase& c, std::ostream* out)
{
    *out << c.name;
}

std::vector<ConformanceCase> LoadConformanceCases()
{
    std::vector<ConformanceCase> cases;
    std::ifstream file(folder + "/cases.tsv");
    std::string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        cases.push_back(ReadCase(line));
    }
    return cases;
}

std::vector<uint16_t> LoadCodes(const std::string& file)
{
    std::ifstream stream(folder + "/" + file, std::ios::binary | std::ios::ate);
    std::vector<uint16_t> codes(static_cast<size_t>(stream.tellg()) / 2);
    stream.seekg(0);
    stream.read(reinterpret_cast<char*>(codes.data()),
                static_cast<std::streamsize>(codes.size() * 2));
    return codes;
}

ConformanceResult RunConformanceCase(const ConformanceCase& c)
{
    LoadFileMatcher(c.device ? folder + "/device.raw" : "");
    std::vector<uint16_t> source = LoadCodes("in/" + c.input);
    ConformanceResult result;
    result.pixels.assign(source.size(), 0);
    QVA_HANDLE handle = nullptr;
    QVA_Initialize(&handle);
    if (c.before == "analysis") {
        Analyse(handle, c, source);
    } else if (c.before != "-") {
        ApplyOnce(handle, c, c.before, source, result.pixels);
    }
    result.status = c.mode == "bands" ? CorrectBands(handle, c, source, result.pixels)
                                      : ApplyOnce(handle, c, c.mode, source, result.pixels);
    QVA_Terminate(&handle);
    return result;
}

} // namespace lumo::test
