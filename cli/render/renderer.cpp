#include "render/renderer.h"

#include "base/phase_times.h"
#include "render/library_calls.h"

#include <algorithm>
#include <vector>

namespace qva {

namespace {

// The longer side of the copy that a rendering divides into regions.
constexpr std::int64_t reducedSide = 1024;

QVA_SOURCE_ENCODING Encode(const RenderRange& range, double threshold)
{
    QVA_SOURCE_ENCODING encoding{};
    encoding.gammaType = range.gammaType;
    encoding.luminanceMin = static_cast<float>(range.bottom);
    encoding.luminanceMax = static_cast<float>(range.top);
    encoding.codeMax = range.codeMax;
    // Narrowing can step out of a range whose end the threshold meets.
    encoding.luminanceThreshold =
        std::clamp(static_cast<float>(threshold), encoding.luminanceMin, encoding.luminanceMax);
    const double share = (threshold - range.bottom) / (range.top - range.bottom);
    encoding.codeThreshold = static_cast<std::uint32_t>(std::clamp(share, 0.0, 1.0) *
                                                        static_cast<double>(range.codeMax));
    return encoding;
}

/// A rendering works with the threshold of the handle's last analysis. An analysis takes the
/// threshold over even where it then refuses the image for its size, which costs nothing: so one
/// row longer than an analysis allows is handed to it.
void SetThreshold(QVA_HANDLE handle, const QVA_OUTPUT_CONDITIONS& conditions)
{
    std::vector<std::uint16_t> row(1201 * 3);
    const QVA_IMAGE image = ImageRecord(row.data(), {1201, 1});
    const QVA_SOURCE_RANGE range = {gammaLinear, 0.0f, 10000.0f};
    QVA_Analysis(handle, &image, &range, sizeof range, &conditions);
}

} // namespace

double FitThreshold(double threshold, const RenderRange& range)
{
    return std::clamp(threshold, range.bottom, range.top);
}

void Render(Page& page, const RenderRange& range, const PrinterProfile& profile,
            const RenderSettings& settings, const std::string& name)
{
    Render(page.codes.get(), page.codes.get(), page.size, range, profile, settings, name);
}

void Render(const std::uint16_t* source, std::uint16_t* result, ImageSize size,
            const RenderRange& range, const PrinterProfile& profile, const RenderSettings& settings,
            const std::string& name)
{
    const InPhase rendering(Phase::Rendering);
    EnsureWidth(size, reducedSide, name);
    const LibraryHandle handle;
    const QVA_OUTPUT_CONDITIONS conditions = ConditionsRecord(profile, settings);
    if (settings.threshold != defaultThreshold) {
        SetThreshold(handle.Get(), conditions);
    }
    const QVA_SOURCE_ENCODING encoding = Encode(range, FitThreshold(settings.threshold, range));
    const QVA_IMAGE src = SourceRecord(source, size);
    const QVA_IMAGE dst = ImageRecord(result, size);
    const auto apply = settings.preview ? QVA_ApplyQVAForPreview : QVA_ApplyQVAForPrint;
    const std::uint32_t status =
        apply(handle.Get(), &dst, &src, &encoding, sizeof encoding, &conditions);
    if (status != QVA_OK) {
        RefuseStatus(status, range, name);
    }
}

} // namespace qva
