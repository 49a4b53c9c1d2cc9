#include "renderer.h"

#include "errors.h"

#include <algorithm>
#include <fmt/format.h>
#include <lumo/qva.h>
#include <omp.h>

namespace qva {

namespace {

class Handle {
public:
    Handle()
    {
        if (QVA_Initialize(&handle_) != QVA_OK) {
            throw std::bad_alloc();
        }
    }
    ~Handle() { QVA_Terminate(&handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    QVA_HANDLE Get() const { return handle_; }

private:
    QVA_HANDLE handle_ = nullptr;
};

QVA_IMAGE Describe(std::uint16_t* codes, ImageSize size)
{
    QVA_IMAGE image{};
    image.width = static_cast<std::uint32_t>(size.width);
    image.height = static_cast<std::uint32_t>(size.height);
    image.stride = static_cast<std::uint64_t>(size.width) * 6;
    image.channels = 3;
    image.bitsPerChannel = 16;
    image.format = 1;
    image.colorSpace = 2;
    image.pixels = codes;
    return image;
}

QVA_SOURCE_ENCODING Encode(const RenderRange& range, double threshold)
{
    QVA_SOURCE_ENCODING encoding{};
    encoding.gammaType = range.gammaType;
    encoding.luminanceMin = static_cast<float>(range.luminanceMin);
    encoding.luminanceMax = static_cast<float>(range.luminanceMax);
    encoding.codeMax = range.codeMax;
    // Narrowing can step out of a range whose end the threshold meets.
    encoding.luminanceThreshold =
        std::clamp(static_cast<float>(threshold), encoding.luminanceMin, encoding.luminanceMax);
    const double share =
        (threshold - range.luminanceMin) / (range.luminanceMax - range.luminanceMin);
    encoding.codeThreshold = static_cast<std::uint32_t>(std::clamp(share, 0.0, 1.0) *
                                                        static_cast<double>(range.codeMax));
    return encoding;
}

QVA_OUTPUT_CONDITIONS Conditions(const PrinterProfile& profile, const RenderSettings& settings)
{
    QVA_OUTPUT_CONDITIONS conditions{};
    conditions.outputLuminanceMax = settings.paperWhite;
    conditions.paramLuminanceThreshold = static_cast<float>(settings.threshold);
    conditions.reservedA = 1.0;
    conditions.reservedB = 1.0;
    conditions.outputProfile = profile.bytes.data();
    conditions.renderingIntent = settings.saturation ? 2 : 0;
    conditions.optionFlag = settings.blackPointCompensation ? 0 : 1;
    return conditions;
}

/// A rendering works with the threshold of the handle's last analysis. An analysis takes the
/// threshold over even where it then refuses the image for its size, which costs nothing: so one
/// row longer than an analysis allows is handed to it.
void SetThreshold(QVA_HANDLE handle, const QVA_OUTPUT_CONDITIONS& conditions)
{
    std::vector<std::uint16_t> row(1201 * 3);
    const QVA_IMAGE image = Describe(row.data(), {1201, 1});
    const QVA_SOURCE_RANGE range = {gammaLinear, 0.0f, 10000.0f};
    QVA_Analysis(handle, &image, &range, sizeof range, &conditions);
}

[[noreturn]] void Refuse(std::uint32_t status, const RenderRange& range, const std::string& name)
{
    if (status == QVA_ERROR_PROCESSING) {
        throw Failure(name, fmt::format("cannot be rendered: memory ran out, or its brightest "
                                        "level, {:.4g} cd/m2, is not above the black of the paper; "
                                        "for a dark picture raise --white, --luminance-max or "
                                        "--top",
                                        range.luminanceMax));
    }
    throw Failure(name, fmt::format("the library refuses the range {:.4g} to {:.4g} cd/m2",
                                    range.luminanceMin, range.luminanceMax));
}

} // namespace

void SetThreads(int threads)
{
    if (threads > 0) {
        omp_set_num_threads(threads);
    }
    SetReaderThreads(omp_get_max_threads());
}

double FitThreshold(double threshold, const RenderRange& range)
{
    return std::clamp(threshold, range.luminanceMin, range.luminanceMax);
}

// A rendering divides a copy of 1024 pixels on its longer side into regions, which takes two rows
// and two columns of it.
void EnsureWidth(ImageSize size, const std::string& name)
{
    constexpr std::int64_t reducedSide = 1024;
    const std::int64_t longer = std::max<std::int64_t>(size.width, size.height);
    const std::int64_t shorter = std::min<std::int64_t>(size.width, size.height);
    if (shorter < 2 || (longer > reducedSide && shorter * reducedSide / longer < 2)) {
        throw Failure(name, fmt::format("{} x {} pixels are too narrow to be rendered: the shorter "
                                        "side needs 2 pixels, and a 500th of the longer",
                                        size.width, size.height));
    }
}

void Render(Page& page, const RenderRange& range, const PrinterProfile& profile,
            const RenderSettings& settings, const std::string& name)
{
    EnsureWidth(page.size, name);
    const Handle handle;
    const QVA_OUTPUT_CONDITIONS conditions = Conditions(profile, settings);
    if (settings.threshold != defaultThreshold) {
        SetThreshold(handle.Get(), conditions);
    }
    const QVA_SOURCE_ENCODING encoding = Encode(range, FitThreshold(settings.threshold, range));
    const QVA_IMAGE image = Describe(page.codes.get(), page.size);
    const auto apply = settings.preview ? QVA_ApplyQVAForPreview : QVA_ApplyQVAForPrint;
    const std::uint32_t status =
        apply(handle.Get(), &image, &image, &encoding, sizeof encoding, &conditions);
    if (status != QVA_OK) {
        Refuse(status, range, name);
    }
}

} // namespace qva
