// The size of the page that a picture is printed on.
#pragma once

#include "formats/row_writer.h"
#include "render/examination.h"
#include "render/page_size.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qva {

struct SizeOptions {
    std::optional<PageSize> page; ///< set by --size; complete after FinishSize
    std::optional<double> bleed;  ///< inches
    std::optional<Fit> fit;
};

/// A size such as 30x20cm; nothing for other text. The page has neither bleed nor resolution yet.
std::optional<PageSize> ParsePageSize(std::string_view text);

/// A length such as 3mm in inches; nothing for other text.
std::optional<double> ParseLength(std::string_view text);

void AddSizeOptions(CLI::App& app, SizeOptions& options);

/// What only all options together can tell; a page without a resolution gets that of assumedDpi.
/// @throws Misuse.
void FinishSize(SizeOptions& options, WriteSettings& write);

/// A picture that is described, at the size of the page where one is asked for.
/// @throws Failure.
SourceDescription SizedDescription(const SizeOptions& options, const SizeLimits& limits,
                                   const SourceDescription& description);

/// Puts a source that resamples in the place of an opened one, where a page's size is asked for.
/// An enlargement is noted among the notes on its meaning.
/// @throws Failure.
void ApplySize(const SizeOptions& options, const SizeLimits& limits, Examination& found,
               std::unique_ptr<ImageSource>& source);

} // namespace qva
