// What a result says about the paper that it was rendered for.
#pragma once

#include "base/digest.h"
#include "picture/source_description.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qva {

/// How device values are made of a result: as the device step of its rendering assumed.
struct DeviceIntent {
    bool saturation = false; ///< instead of media-relative colorimetric
    bool blackPointCompensation = true;

    bool operator==(const DeviceIntent&) const = default;
};

struct RenderedFor {
    std::uint64_t profileDigest = 0; ///< of its bytes, by DigestOf
    DeviceIntent intent;

    bool operator==(const RenderedFor&) const = default;
};

/// The text by which a result names its program: "qva", and in parentheses what it is for, such as
/// "qva (for profile 0123456789abcdef, relative, black-point compensation)".
std::string SoftwareText(const std::optional<RenderedFor>& paper);

/// @return nothing where the text is not one of SoftwareText that names a profile.
std::optional<RenderedFor> ParseSoftware(const std::string& text);

/// Adds what ParseSoftware finds to what a file says about itself.
void AddPaper(const std::string& software, SourceDescription& description);

/// What AddPaper added.
std::optional<RenderedFor> PaperOf(const SourceDescription& description);

} // namespace qva
