// Prints a page strip after strip, as one does with a page that fits into no memory.
//
//   print_bands PAGE.ppm PRINTER.icc PRINT.ppm [ROWS]
//
// The page is a binary PPM of 16 bits (maxval 65535) of linear codes with the primaries of BT.2020,
// up to 1000 cd/m2. It is read twice: for the small copy that is analysed, and for the strips of
// ROWS (500) with their margins, of which the inner rows are written.
//
//   c++ -std=c++20 print_bands.cpp -o print_bands $(pkg-config --cflags --libs qva)
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <lumo/qva.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Codes = std::vector<std::uint16_t>;

/// A handle of the library, alive as long as this.
class Handle {
public:
    Handle() { Check(QVA_Initialize(&handle_), "no handle"); }
    ~Handle() { QVA_Terminate(&handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    QVA_HANDLE Get() const { return handle_; }

    static void Check(std::uint32_t status, const std::string& what)
    {
        if (status != QVA_OK) {
            throw std::runtime_error(what + ": status " + std::to_string(status));
        }
    }

private:
    QVA_HANDLE handle_ = nullptr;
};

/// Rows of a PPM file, in any order.
class Page {
public:
    explicit Page(const std::string& name) : file_(name, std::ios::binary)
    {
        std::string magic;
        int largest = 0;
        file_ >> magic >> width >> height >> largest;
        file_.get();
        pixels_ = file_.tellg();
        if (!file_ || magic != "P6" || largest != 65535 || width < 1 || height < 1) {
            throw std::runtime_error(name + ": is no PPM of 16 bits");
        }
    }

    void Read(std::uint32_t first, std::uint32_t count, std::uint16_t* codes)
    {
        std::vector<char> bytes(std::size_t{count} * width * 6);
        file_.seekg(pixels_ + static_cast<std::streamoff>(std::size_t{first} * width * 6));
        if (!file_.read(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
            throw std::runtime_error("the page ends early");
        }
        for (std::size_t i = 0; i < bytes.size(); i += 2) { // the high byte comes first
            *codes++ = static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[i]) << 8 |
                                                  static_cast<unsigned char>(bytes[i + 1]));
        }
    }

    std::uint32_t width = 0;
    std::uint32_t height = 0;

private:
    std::ifstream file_;
    std::streampos pixels_;
};

QVA_IMAGE ImageOf(Codes& codes, std::uint32_t width, std::uint32_t height)
{
    return {width,       height,           std::uint64_t{width} * 6, 3,
            16,          QVA_FORMAT_RGB16, QVA_COLOR_SPACE_BT2020,   0,
            codes.data()};
}

/// Every step-th pixel of every step-th row, so that no side is longer than an analysis takes.
/// Averages would show the library finer detail; single pixels keep this short.
Codes SmallCopy(Page& page, std::uint32_t step)
{
    Codes row(std::size_t{page.width} * 3);
    Codes copy;
    for (std::uint32_t y = 0; y < page.height; y += step) {
        page.Read(y, 1, row.data());
        for (std::uint32_t x = 0; x < page.width; x += step) {
            copy.insert(copy.end(), row.begin() + x * 3, row.begin() + x * 3 + 3);
        }
    }
    return copy;
}

void Write(std::ofstream& file, const std::uint16_t* codes, std::size_t count)
{
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i) {
        bytes += {static_cast<char>(codes[i] >> 8), static_cast<char>(codes[i] & 255)};
    }
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void PrintBands(Page& page, const std::vector<char>& profile, const std::string& name,
                std::uint32_t rows)
{
    const QVA_SOURCE_RANGE range = {QVA_GAMMA_LINEAR, 0.0F, 1000.0F};
    const QVA_OUTPUT_CONDITIONS paper = {100,
                                         1.3F,
                                         1.0,
                                         1.0,
                                         profile.data(),
                                         QVA_INTENT_RELATIVE_COLORIMETRIC,
                                         QVA_OPTION_BLACK_POINT_COMPENSATION};
    const Handle handle;
    std::uint32_t advice[7];
    Handle::Check(QVA_GetParametersForBandProcessing(handle.Get(), advice), "no advice");
    const std::uint32_t margin = advice[3];

    const std::uint32_t step = (std::max(page.width, page.height) + 1199) / 1200;
    Codes copy = SmallCopy(page, step);
    const QVA_IMAGE small =
        ImageOf(copy, (page.width + step - 1) / step, (page.height + step - 1) / step);
    Handle::Check(QVA_Analysis(handle.Get(), &small, &range, sizeof range, &paper), "analysis");

    std::ofstream file(name, std::ios::binary);
    file << "P6\n" << page.width << ' ' << page.height << "\n65535\n";
    for (std::uint32_t first = 0; first < page.height; first += rows) {
        const std::uint32_t end = std::min(first + rows, page.height);
        const std::uint32_t top = first > margin ? first - margin : 0;
        const std::uint32_t bottom = std::min(end + margin, page.height);
        Codes codes(std::size_t{bottom - top} * page.width * 3);
        page.Read(top, bottom - top, codes.data());
        const QVA_IMAGE strip = ImageOf(codes, page.width, bottom - top);
        const QVA_BAND_AREA band = {0, first - top, page.width - 1, end - 1 - top, {1, 1, 0, 0}};
        const QVA_PAGE_AREA area = {0, top, page.width - 1, bottom - 1, page.width, page.height};
        Handle::Check(QVA_CorrectionForPrint(handle.Get(), &strip, &strip, &range, sizeof range,
                                             &paper, &band, &area),
                      "rows from " + std::to_string(first));
        const std::size_t length = std::size_t{page.width} * 3;
        Write(file, codes.data() + (first - top) * length, (end - first) * length);
    }
    if (!file.flush()) {
        throw std::runtime_error(name + ": cannot be written");
    }
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 4 || count > 5) {
        std::cerr << "usage: print_bands PAGE.ppm PRINTER.icc PRINT.ppm [ROWS]\n";
        return 2;
    }
    try {
        Page page(arguments[1]);
        std::ifstream file(arguments[2], std::ios::binary);
        const std::vector<char> profile{std::istreambuf_iterator<char>(file), {}};
        if (profile.empty()) {
            throw std::runtime_error(std::string(arguments[2]) + ": cannot be read");
        }
        const int rows = count == 5 ? std::atoi(arguments[4]) : 500;
        PrintBands(page, profile, arguments[3], static_cast<std::uint32_t>(std::max(rows, 1)));
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
