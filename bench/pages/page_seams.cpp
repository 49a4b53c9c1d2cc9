// Measures what a border between two bands leaves in a page: bands against the same lines
// rendered as one.
//
//   page_seams WIDTH HEIGHT [--margin N] [--profile P.icc] [--picture OUT.png] [--bands a,b,c]
//
// WIDTH x HEIGHT is the page that the bands claim to come from: it decides how strong the
// smoothers work. Rendered is a crop of its columns, all rows of it.
#include "colour/icc_builder.h"
#include "colour/lcms_handles.h"
#include "colour/printer_profile.h"
#include "formats/srgb_png.h"
#include "page/band_renderer.h"
#include "page/reduced_page.h"
#include "scenes.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <numeric>
#include <optional>

namespace qva::pages {

namespace {

using Codes = std::vector<std::uint16_t>;

struct Settings {
    ImageSize page;
    std::int64_t columns = 1500;
    std::optional<std::int64_t> margin;
    std::vector<std::int64_t> bands = {1, 2, 5, 20};
    std::string profile;
    std::string picture;
    std::optional<double> limit;
};

/// What is compared of one cut: the lines next to its borders.
struct Difference {
    int largestCode = 0;
    double meanCode = 0.0;
    double highCode = 0.0; ///< 99.9th percentile
    double largestDelta = 0.0;
    double meanDelta = 0.0;
    double highDelta = 0.0;
    std::int64_t worstRow = 0;
    std::int64_t worstColumn = 0;
};

/// CIE Lab of rendered codes on the paper of a printer.
class PaperLab {
public:
    explicit PaperLab(const PrinterProfile& printer)
    {
        const ProfileHandle rendered = OpenProfile(context_.get(), RenderedProfile());
        const ProfileHandle paper = OpenProfile(context_.get(), printer.bytes);
        const ProfileHandle lab(cmsCreateLab4ProfileTHR(context_.get(), nullptr));
        cmsHPROFILE chain[] = {rendered.get(), paper.get(), paper.get(), lab.get()};
        transform_.reset(cmsCreateMultiprofileTransformTHR(
            context_.get(), chain, 4, TYPE_RGB_16, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC,
            cmsFLAGS_NOOPTIMIZE | cmsFLAGS_BLACKPOINTCOMPENSATION));
    }

    double Delta(const std::uint16_t* first, const std::uint16_t* second) const
    {
        cmsCIELab a;
        cmsCIELab b;
        cmsDoTransform(transform_.get(), first, &a, 1);
        cmsDoTransform(transform_.get(), second, &b, 1);
        return cmsCIE2000DeltaE(&a, &b, 1.0, 1.0, 1.0);
    }

private:
    ContextHandle context_ = MakeContext();
    TransformHandle transform_;
};

Codes CropOf(Scene scene, const Settings& settings, const LineRun& rows)
{
    Codes codes(static_cast<std::size_t>(rows.count * settings.columns * 3));
#pragma omp parallel for schedule(static)
    for (std::int64_t row = 0; row < rows.count; ++row) {
        FillRow(scene, rows.first + row, 0, settings.columns,
                codes.data() + row * settings.columns * 3);
    }
    return codes;
}

/// One page through the library, of which only a crop of columns is ever rendered.
class CroppedPage {
public:
    CroppedPage(Scene scene, const Settings& settings, const PrinterProfile& printer)
        : scene_(scene), settings_(settings), conditions_(ConditionsRecord(printer, {}))
    {
        const ImageSize size = ReducedSize(settings.page, analysisSide);
        Codes copy(static_cast<std::size_t>(size.width * size.height * 3));
        // One sample a pixel will do for a page that is made up.
#pragma omp parallel for schedule(dynamic)
        for (std::int64_t y = 0; y < size.height; ++y) {
            for (std::int64_t x = 0; x < size.width; ++x) {
                FillRow(scene, y * settings.page.height / size.height,
                        x * settings.page.width / size.width, 1,
                        copy.data() + (y * size.width + x) * 3);
            }
        }
        const QVA_IMAGE image = ImageRecord(copy.data(), size);
        Check(QVA_Analysis(handle_.Get(), &image, &range_, sizeof range_, &conditions_));
    }

    Codes Render(const LineRun& rows) const
    {
        Codes codes = CropOf(scene_, settings_, rows);
        const QVA_IMAGE image = ImageRecord(codes.data(), {settings_.columns, rows.count});
        const QVA_BAND_AREA band{0, 0, image.width - 1, image.height - 1, {1, 1, 0, 0}};
        const auto first = static_cast<std::uint32_t>(rows.first);
        const QVA_PAGE_AREA area{0,
                                 first,
                                 image.width - 1,
                                 first + image.height - 1,
                                 static_cast<std::uint32_t>(settings_.page.width),
                                 static_cast<std::uint32_t>(settings_.page.height)};
        Check(QVA_CorrectionForPrint(handle_.Get(), &image, &image, &range_, sizeof range_,
                                     &conditions_, &band, &area));
        return codes;
    }

private:
    static void Check(std::uint32_t status)
    {
        if (status != QVA_OK) {
            throw std::runtime_error(fmt::format("the library answers {}", status));
        }
    }

    Scene scene_;
    const Settings& settings_;
    LibraryHandle handle_;
    QVA_SOURCE_RANGE range_{0, 0.0f, static_cast<float>(brightest)};
    QVA_OUTPUT_CONDITIONS conditions_;
};

template <typename T>
T HighOf(std::vector<T>& values)
{
    const auto place =
        values.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(values.size()) * 0.999);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

/// Compares the lines up to `reach` away from every inner border.
Difference Compare(const Codes& whole, const Codes& bands, const BandPlan& plan,
                   std::int64_t columns, const PaperLab& lab)
{
    constexpr std::int64_t reach = 100;
    std::vector<std::uint16_t> codeSteps;
    std::vector<float> deltas;
    Difference found;
    for (std::int64_t band = 1; band < plan.Bands(); ++band) {
        const std::int64_t border = plan.BandAt(band).inner.first;
        const std::int64_t last = std::min(border + reach, plan.page.height);
        for (std::int64_t row = std::max<std::int64_t>(border - reach, 0); row < last; ++row) {
            for (std::int64_t x = 0; x < columns; ++x) {
                const std::uint16_t* a = whole.data() + (row * columns + x) * 3;
                const std::uint16_t* b = bands.data() + (row * columns + x) * 3;
                const int step =
                    std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
                const double delta = step == 0 ? 0.0 : lab.Delta(a, b);
                codeSteps.push_back(static_cast<std::uint16_t>(step));
                deltas.push_back(static_cast<float>(delta));
                found.largestCode = std::max(found.largestCode, step);
                if (delta > found.largestDelta) {
                    found.largestDelta = delta;
                    found.worstRow = row;
                    found.worstColumn = x;
                }
            }
        }
    }
    if (!deltas.empty()) {
        const auto count = static_cast<double>(deltas.size());
        found.meanCode = std::accumulate(codeSteps.begin(), codeSteps.end(), 0.0) / count;
        found.meanDelta = std::accumulate(deltas.begin(), deltas.end(), 0.0) / count;
        found.highCode = HighOf(codeSteps);
        found.highDelta = HighOf(deltas);
    }
    return found;
}

unsigned char Shown(std::uint16_t code)
{
    return static_cast<unsigned char>(code >> 8);
}

/// The worst place: as one band, in bands, and their difference, where one 16-bit code is one
/// level of grey.
void WritePicture(const std::string& path, const Codes& whole, const Codes& bands,
                  const Settings& settings, const Difference& worst)
{
    constexpr std::int64_t side = 256;
    constexpr std::int64_t gap = 8;
    const ImageSize size = {3 * side + 2 * gap, side};
    std::vector<unsigned char> rgb(static_cast<std::size_t>(size.width * size.height * 3), 255);
    const std::int64_t top =
        std::clamp<std::int64_t>(worst.worstRow - side / 2, 0, settings.page.height - side);
    const std::int64_t left =
        std::clamp<std::int64_t>(worst.worstColumn - side / 2, 0, settings.columns - side);
    for (std::int64_t y = 0; y < side; ++y) {
        for (std::int64_t i = 0; i < side * 3; ++i) {
            const std::int64_t from = ((top + y) * settings.columns + left) * 3 + i;
            const std::int64_t to = y * size.width * 3 + i;
            rgb[to] = Shown(whole[from]);
            rgb[to + (side + gap) * 3] = Shown(bands[from]);
            const int step = bands[from] - whole[from];
            rgb[to + 2 * (side + gap) * 3] =
                static_cast<unsigned char>(std::clamp(128 + step, 0, 255));
        }
    }
    OutputFile file(path);
    WriteSrgbPng(file, size, rgb);
    file.Commit();
}

Codes RenderBands(const CroppedPage& page, const BandPlan& plan, std::int64_t columns)
{
    Codes result;
    result.reserve(static_cast<std::size_t>(plan.page.height * columns * 3));
    for (std::int64_t index = 0; index < plan.Bands(); ++index) {
        const Band band = plan.BandAt(index);
        const Codes codes = page.Render(band.outer);
        const auto first = codes.begin() + (band.inner.first - band.outer.first) * columns * 3;
        result.insert(result.end(), first, first + band.inner.count * columns * 3);
    }
    return result;
}

/// @return the largest ΔE 2000 of all.
double Measure(const Settings& settings)
{
    const PrinterProfile printer =
        settings.profile.empty() ? BuiltInProfile() : ReadPrinterProfile(settings.profile);
    const PaperLab lab(printer);
    const std::int64_t margin = settings.margin.value_or(MarginFor(settings.page));
    double worst = 0.0;
    fmt::print(
        "| scene | bands | margin | codes: largest | mean | 99.9 % | ΔE 2000: largest | mean "
        "| 99.9 % |\n|---|---|---|---|---|---|---|---|---|\n");
    for (const Scene scene : allScenes) {
        const CroppedPage page(scene, settings, printer);
        const Codes whole = page.Render({0, settings.page.height});
        for (const std::int64_t bands : settings.bands) {
            BandSettings cut;
            cut.bandLines = (settings.page.height + bands - 1) / bands;
            cut.marginLines = margin;
            const BandPlan plan = MakeBandPlan(settings.page, cut, "page");
            const Codes result = RenderBands(page, plan, settings.columns);
            const Difference d = Compare(whole, result, plan, settings.columns, lab);
            fmt::print("| {} | {} | {} | {} | {:.4f} | {:.0f} | {:.4f} | {:.5f} | {:.4f} |\n",
                       NameOf(scene), plan.Bands(), margin, d.largestCode, d.meanCode, d.highCode,
                       d.largestDelta, d.meanDelta, d.highDelta);
            std::fflush(stdout);
            if (!settings.picture.empty() && d.largestDelta > worst) {
                WritePicture(settings.picture, whole, result, settings, d);
            }
            worst = std::max(worst, d.largestDelta);
        }
    }
    return worst;
}

} // namespace

} // namespace qva::pages

int main(int count, char** arguments)
{
    qva::pages::Settings settings;
    CLI::App app("Measures seams between bands", "page_seams");
    app.add_option("WIDTH", settings.page.width)->required();
    app.add_option("HEIGHT", settings.page.height)->required();
    app.add_option("--columns", settings.columns, "of the crop that is rendered");
    app.add_option("--margin", settings.margin, "lines (what the host would choose)");
    app.add_option("--bands", settings.bands, "numbers of bands")->delimiter(',');
    app.add_option("--profile", settings.profile, "of the printer (the built-in one)");
    app.add_option("--picture", settings.picture, "a PNG of the worst place");
    app.add_option("--limit", settings.limit, "fail where a ΔE 2000 is larger");
    CLI11_PARSE(app, count, arguments);
    try {
        const double worst = qva::pages::Measure(settings);
        if (settings.limit && worst > *settings.limit) {
            fmt::print(stderr, "page_seams: {:.3f} is more than {}\n", worst, *settings.limit);
            return 1;
        }
    } catch (const std::exception& error) {
        fmt::print(stderr, "page_seams: {}\n", error.what());
        return 1;
    }
    return 0;
}
