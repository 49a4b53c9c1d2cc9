#include "command/report.h"

#include "base/errors.h"
#include "base/pipe_ends.h"
#include "picture/print_metadata.h"
#include "render/renderer.h"

#include <fmt/format.h>

namespace qva {

namespace {

constexpr double brightShare = 0.9999;

std::string KindOfSamples(const SourceDescription& description)
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

std::vector<Finding> AllFindings(const SourceDescription& description)
{
    std::vector<Finding> findings = description.findings;
    const std::vector<Finding> metadata = MetadataFindings(description);
    findings.insert(findings.end(), metadata.begin(), metadata.end());
    return findings;
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
    std::string text = fmt::format("{}\n", OneLine(ForPeople(description.path)));
    const auto line = [&text](const char* label, const std::string& value) {
        text += fmt::format("  {:<13}{}\n", label, value);
    };
    line("format", fmt::format("{}, {}", description.format, KindOfSamples(description)));
    const ImageSize upright = UprightSize(description);
    line("size", fmt::format("{} x {} pixels (orientation {})", upright.width, upright.height,
                             description.orientation));
    line("resolution", description.dpi > 0.0
                           ? fmt::format("{:.6g} pixels per inch", description.dpi)
                           : "not stated");
    line("encoding", fmt::format("{} ({})", NameOfTransfer(meaning), meaning.transferFrom));
    line("primaries", fmt::format("{} ({})", PrimariesOf(meaning), meaning.primariesFrom));
    const char* exposed = found.light.exposure == 0.0 ? "" : ", exposed";
    line("scale", fmt::format("{:.6g} to {:.6g} cd/m2 ({}{})", meaning.signalZeroLuminance,
                              meaning.signalOneLuminance, meaning.luminanceFrom, exposed));
    line("light", fmt::format("peak {:.6g} cd/m2, 99.99 % of the pixels up to {:.6g} cd/m2{}",
                              light.Peak(), light.Percentile(brightShare), exposed));
    line("exposure", fmt::format("{} ({})", ExposureText(found.light), found.light.exposureFrom));
    for (const std::string& step : StepsOf(found.light)) {
        line("first", step);
    }
    for (const std::string& option : found.light.off) {
        line("off", option);
    }
    for (const Finding& finding : AllFindings(description)) {
        line(finding.label.c_str(), finding.text);
    }
    line("range", fmt::format("{:.6g} to {:.6g} cd/m2 ({})", found.range.bottom, found.range.top,
                              found.range.topFrom));
    line("handed over", HandedOver(found.range));
    line("threshold", fmt::format("{:.6g} cd/m2", FitThreshold(threshold, found.range)));
    line("flaws", HasFlaws(found.counts) ? FlawText(found.counts) : "none");
    if (light.PixelsBelowZero() > 0 && !found.light.fitsColour) {
        line("cut at 0", Plural(light.PixelsBelowZero(), "pixel"));
    }
    for (const std::string& note : AllNotes(found)) {
        line("note", note);
    }
    return text;
}

void WriteReport(JsonWriter& json, const Examination& found, double threshold)
{
    const SourceDescription& description = found.description;
    const Interpretation& meaning = found.meaning;
    const PictureStatistics& light = found.statistics;
    const ImageSize upright = UprightSize(description);
    json.Add("file", description.path);
    json.Add("format", description.format);
    json.Add("width", upright.width);
    json.Add("height", upright.height);
    json.Add("orientation", description.orientation);
    json.Add("bitsPerSample", description.bits);
    json.Add("sampleFormat", description.isFloat ? "float" : "unsigned");
    json.Add("grey", description.isGrey);
    json.Add("alpha", description.hasAlpha);
    json.Add("morePictures", description.hasMorePictures);
    json.Add("dpi", description.dpi);
    json.OpenObject("encoding");
    json.Add("transfer", NameOfTransfer(meaning));
    json.Add("from", meaning.transferFrom);
    json.Add("signalZeroLuminance", meaning.signalZeroLuminance);
    json.Add("signalOneLuminance", meaning.signalOneLuminance);
    json.Add("luminanceFrom", meaning.luminanceFrom);
    json.Close();
    json.OpenObject("primaries");
    json.Add("name", PrimariesOf(meaning));
    json.Add("from", meaning.primariesFrom);
    json.Close();
    json.OpenObject("light");
    json.Add("peak", light.Peak());
    json.Add("percentile9999", light.Percentile(brightShare));
    json.Add("logMeanLuminance", light.LogMeanLuminance());
    json.Add("pixelsBelowZero", light.PixelsBelowZero());
    json.Add("pixelsDarkerThanBlack", light.DarkerThanBlack());
    json.Close();
    json.OpenObject("steps");
    json.Add("exposure", found.light.exposure);
    json.Add("exposureFrom", found.light.exposureFrom);
    json.Add("repair", found.light.repairs);
    json.Add("colourFit", found.light.fitsColour);
    json.Add("rimMix", found.light.mixesRims);
    json.Add("shoulderEnd", found.light.shoulderEnd);
    json.Add("shoulderTop", found.light.shoulderTop);
    json.OpenArray("off");
    for (const std::string& option : found.light.off) {
        json.Add({}, option);
    }
    json.Close();
    json.Close();
    json.OpenObject("flaws");
    json.Add("notANumber", found.counts.notANumber);
    json.Add("infinite", found.counts.infinite);
    json.Add("negative", found.counts.negative);
    json.Close();
    json.OpenObject("range");
    json.Add("gammaType", found.range.gammaType);
    json.Add("bottom", found.range.bottom);
    json.Add("top", found.range.top);
    json.Add("codeMax", found.range.codeMax);
    json.Add("passThrough", found.range.passThrough);
    json.Add("from", found.range.topFrom);
    json.Close();
    json.Add("threshold", FitThreshold(threshold, found.range));
    json.OpenArray("findings");
    for (const Finding& finding : AllFindings(description)) {
        json.OpenObject();
        json.Add("label", finding.label);
        json.Add("text", finding.text);
        json.Close();
    }
    json.Close();
    json.OpenArray("notes");
    for (const std::string& note : AllNotes(found)) {
        json.Add({}, note);
    }
    json.Close();
}

std::string ReportJson(const Examination& found, double threshold)
{
    JsonWriter json(true);
    json.OpenObject();
    WriteReport(json, found, threshold);
    json.Close();
    return json.Text() + "\n";
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
    if (found.light.exposureIsChosen) {
        remarks.push_back(fmt::format("exposed by {}: {}; --exposure none leaves it",
                                      ExposureText(found.light), found.light.exposureFrom));
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
