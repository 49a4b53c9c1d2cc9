#include "command/proof_report.h"

#include "base/errors.h"

#include <cmath>
#include <fmt/format.h>

namespace qva {

namespace {

/// Figures for people and programs carry no more places than they are worth.
double Rounded(double value)
{
    return std::round(value * 100.0) / 100.0;
}

std::string LabText(const Lab& lab)
{
    return fmt::format("L* {:.1f} a* {:.1f} b* {:.1f}", lab[0], lab[1], lab[2]);
}

const char* NameOf(const DeviceIntent& intent)
{
    return intent.saturation ? "saturation" : "relative";
}

void WriteLab(JsonWriter& json, const char* name, const Lab& lab)
{
    json.OpenArray(name);
    for (const double value : lab) {
        json.Add({}, Rounded(value));
    }
    json.Close();
}

void WriteDifferences(JsonWriter& json, const char* name, const ProofFigures& figures,
                      const Differences& differences)
{
    json.OpenObject(name);
    json.Add("mean", Rounded(figures.MeanOf(differences.sum)));
    json.Add("meanAbsolute", Rounded(figures.MeanOf(differences.absoluteSum)));
    json.Add("greatest", Rounded(static_cast<double>(differences.greatest)));
    json.Close();
}

void WriteGamut(JsonWriter& json, const ProofResult& result)
{
    const ProofFigures& figures = result.figures;
    json.OpenObject("gamut");
    json.Add("meanDeltaE", Rounded(figures.MeanDeltaE()));
    json.Add("medianDeltaE", Rounded(figures.DeltaEAt(0.5)));
    json.Add("deltaE99", Rounded(figures.DeltaEAt(0.99)));
    json.Add("greatestDeltaE", Rounded(figures.GreatestDeltaE()));
    json.OpenArray("above");
    for (std::size_t step = 0; step < deltaESteps.size(); ++step) {
        json.OpenObject();
        json.Add("deltaE", deltaESteps[step]);
        json.Add("percent", Rounded(figures.PercentAbove(step)));
        json.Close();
    }
    json.Close();
    WriteDifferences(json, "lightness", figures, figures.Lightness());
    WriteDifferences(json, "chroma", figures, figures.Chroma());
    WriteDifferences(json, "hue", figures, figures.Hue());
    json.OpenArray("worst");
    for (const WorstPlace& worst : result.worst) {
        json.OpenObject();
        json.Add("x", worst.place.x);
        json.Add("y", worst.place.y);
        json.Add("deltaE", Rounded(worst.colour.deltaE));
        WriteLab(json, "asked", worst.colour.asked);
        WriteLab(json, "printed", worst.colour.printed);
        json.Close();
    }
    json.Close();
    json.Close();
}

void WriteInk(JsonWriter& json, const ProofFigures& figures)
{
    json.OpenObject("ink");
    json.Add("limit", figures.InkLimit());
    json.Add("mean", Rounded(figures.MeanInk()));
    json.Add("greatest", Rounded(static_cast<double>(figures.MostInk().value)));
    json.Add("x", figures.MostInk().x);
    json.Add("y", figures.MostInk().y);
    json.Add("percentAboveLimit", Rounded(figures.PercentAboveInkLimit()));
    json.Close();
}

std::string StepsText(const ProofFigures& figures)
{
    std::string text;
    for (std::size_t step = 0; step < deltaESteps.size(); ++step) {
        text += fmt::format("{}{:.1f} % above {:.0f}", step == 0 ? "" : ", ",
                            figures.PercentAbove(step), deltaESteps[step]);
    }
    return text;
}

std::string DifferencesText(const ProofFigures& figures)
{
    return fmt::format("lightness {:+.2f} (up to {:.1f}), chroma {:+.2f} ({:.1f}), "
                       "hue {:.2f} ({:.1f})",
                       figures.MeanOf(figures.Lightness().sum), figures.Lightness().greatest,
                       figures.MeanOf(figures.Chroma().sum), figures.Chroma().greatest,
                       figures.MeanOf(figures.Hue().sum), figures.Hue().greatest);
}

} // namespace

std::string ProofText(const ProofSubject& subject, const ProofResult& result)
{
    const ProofFigures& figures = result.figures;
    std::string text = fmt::format("{}\n", OneLine(subject.path));
    const auto line = [&text](const char* label, const std::string& value) {
        text += fmt::format("  {:<13}{}\n", label, value);
    };
    line("paper", fmt::format("{} ({})", subject.profile.description, subject.device.Space()));
    line("intent", fmt::format("{}, black-point compensation {}", NameOf(subject.settings.intent),
                               subject.settings.intent.blackPointCompensation ? "on" : "off"));
    line("paper white", LabText(result.paper.white));
    line("ink black", LabText(result.paper.black));
    line("delta E 2000",
         fmt::format("mean {:.2f}, median {:.2f}, greatest {:.1f}", figures.MeanDeltaE(),
                     figures.DeltaEAt(0.5), figures.GreatestDeltaE()));
    line("", StepsText(figures));
    line("means", DifferencesText(figures));
    for (const WorstPlace& worst : result.worst) {
        line("far at", fmt::format("{}, {}: delta E {:.1f}, asked {}, printed {}", worst.place.x,
                                   worst.place.y, worst.colour.deltaE, LabText(worst.colour.asked),
                                   LabText(worst.colour.printed)));
    }
    if (subject.device.IsInk()) {
        line("ink",
             fmt::format("mean {:.0f} %, most {:.0f} % at {}, {}; {:.2f} % of the pixels "
                         "above {:.0f} %",
                         figures.MeanInk(), figures.MostInk().value, figures.MostInk().x,
                         figures.MostInk().y, figures.PercentAboveInkLimit(), figures.InkLimit()));
    }
    line("display", fmt::format("{}; {:.2f} % of the pixels lie outside of it",
                                subject.viewer.Name(), figures.PercentOutsideViewer()));
    return text;
}

void WriteProof(JsonWriter& json, const ProofSubject& subject, const ProofResult& result)
{
    json.Add("file", subject.path);
    json.Add("pixels", result.figures.Pixels());
    json.Add("profile", subject.profile.description);
    json.Add("deviceSpace", subject.device.Space());
    json.Add("intent", NameOf(subject.settings.intent));
    json.Add("blackPointCompensation", subject.settings.intent.blackPointCompensation);
    WriteLab(json, "paperWhite", result.paper.white);
    WriteLab(json, "inkBlack", result.paper.black);
    WriteGamut(json, result);
    if (subject.device.IsInk()) {
        WriteInk(json, result.figures);
    }
    json.OpenObject("display");
    json.Add("name", subject.viewer.Name());
    json.Add("percentOutside", Rounded(result.figures.PercentOutsideViewer()));
    json.Close();
}

} // namespace qva
