#include "render/profile_trial.h"

#include "base/errors.h"
#include "render/library_calls.h"

#include <vector>

namespace qva {

namespace {

constexpr ImageSize size = {48, 48};
constexpr QVA_SOURCE_RANGE range = {gammaLinear, 0.0f, 1000.0f};

/// Two colours of many brightnesses: an analysis finds more than one region.
std::vector<std::uint16_t> Scene()
{
    std::vector<std::uint16_t> codes;
    for (std::int64_t i = 0; i < size.width * size.height; ++i) {
        const std::int64_t x = i % size.width;
        const auto level = static_cast<std::uint16_t>((i / size.width + 1) * (x + 1) * 13);
        const bool isLeft = x < size.width / 2;
        codes.insert(codes.end(), {level, static_cast<std::uint16_t>(isLeft ? level / 2 : level),
                                   static_cast<std::uint16_t>(isLeft ? level / 8 : level)});
    }
    return codes;
}

using Rendering = decltype(&QVA_ApplyQVAForPrint_Wrapper);

/// @return no codes where the library cannot do it.
std::vector<std::uint16_t> Rendered(Rendering render, const QVA_OUTPUT_CONDITIONS& conditions)
{
    const LibraryHandle handle;
    std::vector<std::uint16_t> codes = Scene();
    const QVA_IMAGE image = ImageRecord(codes.data(), size);
    if (render(handle.Get(), &image, &image, &range, sizeof range, &conditions) != QVA_OK) {
        codes.clear();
    }
    return codes;
}

/// A correction does not do without the matcher, as a print does.
bool CanBeCorrected(const QVA_OUTPUT_CONDITIONS& conditions)
{
    constexpr auto last = static_cast<std::uint32_t>(size.width - 1);
    const LibraryHandle handle;
    std::vector<std::uint16_t> codes = Scene();
    const QVA_IMAGE image = ImageRecord(codes.data(), size);
    const QVA_BAND_AREA band = {0, 0, last, last, {1, 1, 0, 0}};
    const QVA_PAGE_AREA page = {0, 0, last, last, last + 1, last + 1};
    return QVA_Analysis(handle.Get(), &image, &range, sizeof range, &conditions) == QVA_OK &&
           QVA_CorrectionForPrint(handle.Get(), &image, &image, &range, sizeof range, &conditions,
                                  &band, &page) == QVA_OK;
}

} // namespace

void TryProfile(const PrinterProfile& profile, const RenderSettings& settings,
                const std::string& name)
{
    if (profile.isBuiltIn) {
        return;
    }
    const QVA_OUTPUT_CONDITIONS conditions = ConditionsRecord(profile, settings);
    const std::vector<std::uint16_t> print = Rendered(QVA_ApplyQVAForPrint_Wrapper, conditions);
    if (!print.empty() && print != Rendered(QVA_ApplyQVAForPreview_Wrapper, conditions)) {
        return;
    }
    if (print.empty() || !CanBeCorrected(conditions)) {
        throw Failure(name, "the profile is damaged: no print can be predicted with it",
                      exitProfile);
    }
    if (profile.isPrinter) {
        throw Failure(name,
                      "the profile is damaged, or not of a printer: its black is darker than "
                      "any paper's",
                      exitProfile);
    }
}

} // namespace qva
