#include "command/size_options.h"

#include "base/errors.h"
#include "command/option_checks.h"
#include "formats/pdf_page.h"
#include "render/resized_source.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <string_view>
#include <utility>

namespace qva {

namespace {

constexpr double longestInches = 10000.0;

/// Takes a length off the front of a text.
std::optional<double> TakeNumber(std::string_view& text)
{
    double value = 0.0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc() || !std::isfinite(value)) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

std::optional<double> InchesOf(std::string_view unit)
{
    constexpr double millimetresPerInch = 25.4;
    if (unit == "mm") {
        return 1.0 / millimetresPerInch;
    }
    if (unit == "cm") {
        return 10.0 / millimetresPerInch;
    }
    return unit == "in" ? std::optional(1.0) : std::nullopt;
}

CLI::Validator Checked(bool (*isSound)(std::string_view), const char* example)
{
    return CLI::Validator(
        [isSound, example](std::string& text) -> std::string {
            return isSound(text) ? std::string()
                                 : fmt::format("'{}' is not such as {}", text, example);
        },
        "");
}

} // namespace

std::optional<double> ParseLength(std::string_view text)
{
    const std::optional<double> value = TakeNumber(text);
    const std::optional<double> unit = InchesOf(text);
    const bool isSound = value && unit && *value >= 0.0 && *value * *unit <= longestInches;
    return isSound ? std::optional(*value * *unit) : std::nullopt;
}

std::optional<PageSize> ParsePageSize(std::string_view text)
{
    const std::optional<double> width = TakeNumber(text);
    if (!width || !text.starts_with('x')) {
        return std::nullopt;
    }
    text.remove_prefix(1);
    const std::optional<double> height = TakeNumber(text);
    const std::optional<double> unit = InchesOf(text);
    if (!height || !unit) {
        return std::nullopt;
    }
    const PageSize size = {*width * *unit, *height * *unit};
    const bool isSound = size.width > 0.0 && size.height > 0.0 && size.width <= longestInches &&
                         size.height <= longestInches;
    return isSound ? std::optional(size) : std::nullopt;
}

void AddSizeOptions(CLI::App& app, SizeOptions& options)
{
    const char* group = "Output";
    app.add_option_function<std::string>(
           "--size", [&options](const std::string& text) { options.page = *ParsePageSize(text); },
           "Resample the picture for a page of this size, such as 30x20cm (mm, cm or in), at --dpi "
           "(300)")
        ->check(Checked([](std::string_view text) { return ParsePageSize(text).has_value(); },
                        "30x20cm: width x height in mm, cm or in"))
        ->type_name("WxH")
        ->group(group);
    app.add_option_function<std::string>(
           "--bleed", [&options](const std::string& text) { options.bleed = *ParseLength(text); },
           "Beyond the size on each side, such as 3mm, to be cut away")
        ->check(Checked([](std::string_view text) { return ParseLength(text).has_value(); },
                        "3mm: a length in mm, cm or in"))
        ->type_name("LENGTH")
        ->group(group);
    app.add_option_function<std::string>(
           "--fit",
           [&options](const std::string& text) {
               options.fit = text == "cover" ? Fit::Cover : Fit::Contain;
           },
           "A picture of another shape than the page: contain all of it, or cover the page with "
           "its "
           "middle (contain; cover with --bleed)")
        ->check(OneOf({"contain", "cover"}))
        ->type_name("NAME")
        ->group(group);
}

void FinishSize(SizeOptions& options, WriteSettings& write)
{
    if (!options.page) {
        if (options.bleed || options.fit) {
            throw Misuse(options.bleed ? "--bleed" : "--fit", "belongs to --size");
        }
        return;
    }
    if (options.bleed && options.fit == Fit::Contain) {
        throw Misuse("--bleed", "is beyond the page, which --fit contain does not fill");
    }
    write.dpi = write.dpi > 0.0 ? write.dpi : assumedDpi;
    write.bleed = options.bleed.value_or(0.0);
    options.page->dpi = write.dpi;
    options.page->bleed = write.bleed;
    options.page->fit = options.fit.value_or(options.bleed ? Fit::Cover : Fit::Contain);
}

SourceDescription SizedDescription(const SizeOptions& options, const SizeLimits& limits,
                                   const SourceDescription& description)
{
    return options.page
               ? Resized(description, PlanResampling(*options.page, UprightSize(description),
                                                     limits, description.path))
               : description;
}

void ApplySize(const SizeOptions& options, const SizeLimits& limits, Examination& found,
               std::unique_ptr<ImageSource>& source)
{
    if (!options.page) {
        return;
    }
    const Resampling plan = PlanResampling(*options.page, UprightSize(found.description), limits,
                                           found.description.path);
    source = std::make_unique<ResizedSource>(std::move(source), found.meaning, plan);
    found.rows = LightOf(found.meaning);
    const ImageSize before = UprightSize(found.description);
    found.description = source->Describe();
    found.description.findings.push_back(
        {"resampled", fmt::format("from {} x {}", before.width, before.height)});
    const double top = found.range.top;
    const std::string topFrom = found.range.topFrom;
    found.range = {};
    found.range.top = top;
    found.range.topFrom = topFrom;
    constexpr double noticed = 1.005;
    if (plan.Enlargement() >= noticed) {
        found.meaning.notes.push_back(
            fmt::format("enlarged {:.2f} times: at this size the picture has {:.0f} pixels per "
                        "inch of its own",
                        plan.Enlargement(), options.page->dpi / plan.Enlargement()));
    }
}

} // namespace qva
