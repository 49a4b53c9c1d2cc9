#include "command/report.h"

#include "base/errors.h"
#include "render/renderer.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace qva {

namespace {

constexpr double brightShare = 0.9999;

std::string SampleKind(const SourceDescription& description)
{
    return fmt::format(
        "{}-bit {}, {}{}", description.bits, description.isFloat ? "floating point" : "integer",
        description.isGrey ? "grey" : "RGB", description.hasAlpha ? " and alpha" : "");
}

std::string PrimariesOf(const Interpretation& meaning)
{
    return meaning.transfer == Transfer::Profile ? "ICC profile"
                                                 : NameOfPrimaries(meaning.primaries);
}

std::string Plural(std::uint64_t count, const char* what)
{
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string HandedOver(const RenderRange& range)
{
    if (range.passThrough) {
        return fmt::format("{} codes of the file, untouched, up to code {}",
                           NameOfGammaType(range.gammaType), range.codeMax);
    }
    return fmt::format("{} codes of BT.2020", NameOfGammaType(range.gammaType));
}

bool HasFlaws(const SampleCounts& counts)
{
    return counts.notANumber + counts.infinite + counts.negative > 0;
}

std::vector<std::string> AllNotes(const Examination& found)
{
    std::vector<std::string> notes = found.description.notes;
    notes.insert(notes.end(), found.meaning.notes.begin(), found.meaning.notes.end());
    return notes;
}

std::string FlawText(const SampleCounts& counts)
{
    return fmt::format("{} not a number, {} infinite, {} negative",
                       Plural(counts.notANumber, "sample"), counts.infinite, counts.negative);
}

} // namespace

std::string ReportText(const Examination& found, double threshold)
{
    const SourceDescription& description = found.description;
    const Interpretation& meaning = found.meaning;
    const PictureStatistics& light = found.statistics;
    std::string text = fmt::format("{}\n", OneLine(description.path));
    const auto line = [&text](const char* label, const std::string& value) {
        text += fmt::format("  {:<13}{}\n", label, value);
    };
    line("format", fmt::format("{}, {}", description.format, SampleKind(description)));
    const ImageSize upright = UprightSize(description);
    line("size", fmt::format("{} x {} pixels (orientation {})", upright.width, upright.height,
                             description.orientation));
    line("resolution", description.dpi > 0.0
                           ? fmt::format("{:.6g} pixels per inch", description.dpi)
                           : "not stated");
    line("encoding", fmt::format("{} ({})", NameOfTransfer(meaning), meaning.transferFrom));
    line("primaries", fmt::format("{} ({})", PrimariesOf(meaning), meaning.primariesFrom));
    line("scale", fmt::format("{:.6g} to {:.6g} cd/m2 ({})", meaning.signalZeroLuminance,
                              meaning.signalOneLuminance, meaning.luminanceFrom));
    line("light", fmt::format("peak {:.6g} cd/m2, 99.99 % of the pixels up to {:.6g} cd/m2",
                              light.Peak(), light.Percentile(brightShare)));
    for (const Finding& finding : description.findings) {
        line(finding.label.c_str(), finding.text);
    }
    line("range", fmt::format("{:.6g} to {:.6g} cd/m2 ({})", found.range.bottom, found.range.top,
                              found.range.topFrom));
    line("handed over", HandedOver(found.range));
    line("threshold", fmt::format("{:.6g} cd/m2", FitThreshold(threshold, found.range)));
    line("flaws", HasFlaws(found.counts) ? FlawText(found.counts) : "none");
    if (light.PixelsBelowZero() > 0) {
        line("cut at 0", Plural(light.PixelsBelowZero(), "pixel"));
    }
    for (const std::string& note : AllNotes(found)) {
        line("note", note);
    }
    return text;
}

std::string ReportJson(const Examination& found, double threshold)
{
    const SourceDescription& description = found.description;
    const Interpretation& meaning = found.meaning;
    const ImageSize upright = UprightSize(description);
    nlohmann::ordered_json json;
    json["file"] = description.path;
    json["format"] = description.format;
    json["width"] = upright.width;
    json["height"] = upright.height;
    json["orientation"] = description.orientation;
    json["bitsPerSample"] = description.bits;
    json["sampleFormat"] = description.isFloat ? "float" : "unsigned";
    json["grey"] = description.isGrey;
    json["alpha"] = description.hasAlpha;
    json["morePictures"] = description.hasMorePictures;
    json["dpi"] = description.dpi;
    json["encoding"] = {{"transfer", NameOfTransfer(meaning)},
                        {"from", meaning.transferFrom},
                        {"luminanceMin", meaning.signalZeroLuminance},
                        {"luminanceMax", meaning.signalOneLuminance},
                        {"luminanceFrom", meaning.luminanceFrom}};
    json["primaries"] = {{"name", PrimariesOf(meaning)}, {"from", meaning.primariesFrom}};
    json["light"] = {{"peak", found.statistics.Peak()},
                     {"percentile9999", found.statistics.Percentile(brightShare)},
                     {"pixelsBelowZero", found.statistics.PixelsBelowZero()}};
    json["flaws"] = {{"notANumber", found.counts.notANumber},
                     {"infinite", found.counts.infinite},
                     {"negative", found.counts.negative}};
    json["range"] = {{"gammaType", found.range.gammaType},     {"luminanceMin", found.range.bottom},
                     {"luminanceMax", found.range.top},        {"codeMax", found.range.codeMax},
                     {"passThrough", found.range.passThrough}, {"from", found.range.topFrom}};
    json["threshold"] = FitThreshold(threshold, found.range);
    json["findings"] = nlohmann::ordered_json::array();
    for (const Finding& finding : description.findings) {
        json["findings"].push_back({{"label", finding.label}, {"text", finding.text}});
    }
    json["notes"] = AllNotes(found);
    // File names need not be UTF-8.
    return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::vector<std::string> Remarks(const Examination& found, double threshold)
{
    std::vector<std::string> remarks = AllNotes(found);
    if (found.description.hasMorePictures) {
        remarks.emplace_back("holds more than one picture: the first is taken");
    }
    if (HasFlaws(found.counts)) {
        remarks.push_back("brought into range: " + FlawText(found.counts));
    }
    const double fitted = FitThreshold(threshold, found.range);
    if (fitted != threshold) {
        remarks.push_back(fmt::format("the threshold is moved into the picture's range: {:.4g} "
                                      "cd/m2",
                                      fitted));
    }
    return remarks;
}

} // namespace qva
