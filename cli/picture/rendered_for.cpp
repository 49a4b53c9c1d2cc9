#include "picture/rendered_for.h"

#include <charconv>
#include <fmt/format.h>
#include <string_view>

namespace qva {

namespace {

constexpr std::string_view opening = "qva (for profile ";
constexpr std::size_t digestDigits = 16;
constexpr const char* label = "rendered by";

} // namespace

std::string SoftwareText(const std::optional<RenderedFor>& paper)
{
    if (!paper) {
        return "qva";
    }
    return fmt::format("{}{:016x}, {}{})", opening, paper->profileDigest,
                       paper->intent.saturation ? "saturation" : "relative",
                       paper->intent.blackPointCompensation ? ", black-point compensation" : "");
}

std::optional<RenderedFor> ParseSoftware(const std::string& text)
{
    RenderedFor paper;
    if (!text.starts_with(opening) || text.size() < opening.size() + digestDigits) {
        return std::nullopt;
    }
    const char* digits = text.data() + opening.size();
    std::from_chars(digits, digits + digestDigits, paper.profileDigest, 16);
    paper.intent = {text.find("saturation") != std::string::npos,
                    text.find("compensation") != std::string::npos};
    // What the text would be: anything else was written by somebody else.
    return SoftwareText(paper) == text ? std::optional(paper) : std::nullopt;
}

void AddPaper(const std::string& software, SourceDescription& description)
{
    if (ParseSoftware(software)) {
        description.findings.push_back({label, software});
    }
}

std::optional<RenderedFor> PaperOf(const SourceDescription& description)
{
    for (const Finding& finding : description.findings) {
        if (finding.label == label) {
            return ParseSoftware(finding.text);
        }
    }
    return std::nullopt;
}

} // namespace qva
