#include "formats/hdr_header.h"

#include "base/errors.h"

#include <cmath>
#include <sstream>

namespace qva {

namespace {

std::string ReadLine(std::FILE* file, const std::string& path)
{
    constexpr std::size_t longestLine = 65536;
    std::string line;
    for (int letter = std::getc(file); letter != '\n'; letter = std::getc(file)) {
        if (letter == EOF || line.size() >= longestLine) {
            throw Failure(path, "the Radiance header is damaged");
        }
        line.push_back(static_cast<char>(letter));
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

template <std::size_t count>
std::array<double, count> ReadNumbers(const std::string& text, const char* key,
                                      const std::string& path)
{
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    std::array<double, count> numbers{};
    for (double& number : numbers) {
        if (!(stream >> number) || !std::isfinite(number)) {
            throw Failure(path, std::string("the line ") + key + " of the header is damaged");
        }
    }
    return numbers;
}

void DivideGain(double& gain, double factor, const char* key, const std::string& path)
{
    gain = factor > 0.0 ? gain / factor : 0.0;
    if (!std::isfinite(gain) || gain <= 0.0) {
        throw Failure(path, std::string("the line ") + key + " of the header is not above 0");
    }
}

void TakeLine(const std::string& line, const std::string& path, HdrHeader& header)
{
    const std::size_t equals = line.find('=');
    const std::string key = line.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : line.substr(equals + 1);
    if (key == "FORMAT" && value.find("32-bit_rle_rgbe") == std::string::npos) {
        throw Failure(path, "its format is " + value + ", only 32-bit_rle_rgbe can be read");
    }
    if (key == "EXPOSURE") {
        const double exposure = ReadNumbers<1>(value, "EXPOSURE", path)[0];
        for (double& gain : header.gains) {
            DivideGain(gain, exposure, "EXPOSURE", path);
        }
    } else if (key == "COLORCORR") {
        const auto correction = ReadNumbers<3>(value, "COLORCORR", path);
        for (std::size_t k = 0; k < 3; ++k) {
            DivideGain(header.gains[k], correction[k], "COLORCORR", path);
        }
    } else if (key == "PRIMARIES") {
        const auto p = ReadNumbers<8>(value, "PRIMARIES", path);
        header.primaries = Chromaticities{{p[0], p[1]}, {p[2], p[3]}, {p[4], p[5]}, {p[6], p[7]}};
    }
}

struct ResolutionForm {
    const char* first;
    const char* second;
    int orientation;
};

// The first axis runs from scanline to scanline, the second along one; Y grows upward.
constexpr ResolutionForm resolutionForms[] = {{"-Y", "+X", 1}, {"-Y", "-X", 2}, {"+Y", "-X", 3},
                                              {"+Y", "+X", 4}, {"+X", "-Y", 5}, {"-X", "-Y", 6},
                                              {"-X", "+Y", 7}, {"+X", "+Y", 8}};

void TakeResolution(const std::string& line, const std::string& path, HdrHeader& header)
{
    std::istringstream stream(line);
    stream.imbue(std::locale::classic());
    std::string first;
    std::string second;
    std::string rest;
    stream >> first >> header.size.height >> second >> header.size.width;
    if (!stream || stream >> rest) {
        throw Failure(path, "the resolution line of the header is damaged");
    }
    for (const ResolutionForm& form : resolutionForms) {
        if (first == form.first && second == form.second) {
            header.orientation = form.orientation;
            return;
        }
    }
    throw Failure(path, "the resolution line of the header is damaged");
}

} // namespace

HdrHeader ReadHdrHeader(std::FILE* file, const std::string& path)
{
    HdrHeader header;
    if (!ReadLine(file, path).starts_with("#?")) {
        throw Failure(path, "is not a Radiance picture");
    }
    constexpr int mostLines = 1000;
    for (int count = 0; count < mostLines; ++count) {
        const std::string line = ReadLine(file, path);
        if (line.empty()) {
            TakeResolution(ReadLine(file, path), path, header);
            return header;
        }
        TakeLine(line, path, header);
    }
    throw Failure(path, "the Radiance header has no end");
}

} // namespace qva
